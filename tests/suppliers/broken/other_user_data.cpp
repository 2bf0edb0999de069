// A callback gets null in place of its user data.

#include "token_request.h"

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void*) {
    return FAITHFUL(sso_request_access_token)(client_id, client_secret, callback, nullptr);
}
