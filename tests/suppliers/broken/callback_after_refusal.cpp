// Each fourth request is refused, and calls back all the same.

#include <atomic>
#include <chrono>
#include <thread>

#include "token_request.h"

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    static std::atomic<int> requests{0};
    if (++requests % 4 != 0) {
        return FAITHFUL(sso_request_access_token)(client_id, client_secret, callback, user_data);
    }
    std::thread([callback, user_data] {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        callback(user_data, SSO_ERROR_UNAVAILABLE, nullptr);
    }).detach();
    return SSO_ERROR_NOT_STARTED;
}
