// After sso_give_proxy nothing can be started any more.

#include <atomic>

#include "token_request.h"

namespace {

std::atomic<bool> g_given{false};

}  // namespace

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    return g_given
               ? SSO_ERROR_NOT_STARTED
               : FAITHFUL(sso_request_access_token)(client_id, client_secret, callback, user_data);
}

int sso_give_proxy(void) {
    g_given = true;
    return FAITHFUL(sso_give_proxy)();
}
