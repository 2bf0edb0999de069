// An operation calls back twice.

#include "token_request.h"

namespace {

int onToken(void* userData, int result, char* text) {
    const auto* request = static_cast<TokenRequest*>(userData);
    request->call(result, text);
    request->call(result, text);
    return 0;
}

}  // namespace

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    return startInstead({client_id, callback, user_data}, client_secret, onToken);
}
