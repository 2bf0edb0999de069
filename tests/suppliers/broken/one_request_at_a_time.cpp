// A request that comes before the last one has ended is dropped.

#include <atomic>

#include "token_request.h"

namespace {

std::atomic<bool> g_outstanding{false};

int onToken(void* userData, int result, char* text) {
    g_outstanding = false;
    static_cast<const TokenRequest*>(userData)->call(result, text);
    return 0;
}

}  // namespace

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    if (g_outstanding.exchange(true)) {
        return SSO_OK;
    }
    return startInstead({client_id, callback, user_data}, client_secret, onToken);
}
