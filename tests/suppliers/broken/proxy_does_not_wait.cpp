// sso_give_proxy cuts short what has not ended, but does not wait for a callback that runs.

#include <atomic>
#include <chrono>
#include <thread>

#include "token_request.h"

namespace {

int onToken(void* userData, int result, char* text) {
    const auto* request = static_cast<TokenRequest*>(userData);
    if (result == SSO_ERROR_CANCELLED) {
        request->call(result, text);
        return 0;
    }
    std::thread([request, result, copy = std::string(text != nullptr ? text : "")] {
        request->callWithCopy(result, copy);
    }).detach();
    // It has begun when the library believes that it has returned.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return 0;
}

}  // namespace

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    return startInstead({client_id, callback, user_data}, client_secret, onToken);
}
