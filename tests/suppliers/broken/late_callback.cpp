// A callback may come after sso_give_proxy has returned.

#include <atomic>
#include <chrono>
#include <thread>

#include "token_request.h"

namespace {

std::atomic<int> g_running{0};

int onToken(void* userData, int result, char* text) {
    const auto* request = static_cast<TokenRequest*>(userData);
    std::thread([request, result, copy = std::string(text != nullptr ? text : "")] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        ++g_running;
        request->callWithCopy(result, copy);
        --g_running;
    }).detach();
    return 0;
}

}  // namespace

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    return startInstead({client_id, callback, user_data}, client_secret, onToken);
}

int sso_give_proxy(void) {
    const int result = FAITHFUL(sso_give_proxy)();
    while (g_running > 0) {  // it waits for those that run
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return result;
}
