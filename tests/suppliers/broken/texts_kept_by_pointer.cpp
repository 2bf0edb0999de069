// The client's identifier is read when the request ends, where the caller had it.

#include "token_request.h"

namespace {

int onToken(void* userData, int result, char* text) {
    const auto* request = static_cast<TokenRequest*>(userData);
    const volatile char first = *request->clientId;
    static_cast<void>(first);
    request->call(result, text);
    return 0;
}

}  // namespace

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    return startInstead({client_id, callback, user_data}, client_secret, onToken);
}
