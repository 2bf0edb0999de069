// The text of a callback is overwritten while the callback runs.

#include <algorithm>
#include <chrono>
#include <thread>

#include "token_request.h"

namespace {

int onToken(void* userData, int result, char* text) {
    const auto* request = static_cast<TokenRequest*>(userData);
    if (text == nullptr) {
        request->call(result, text);
        return 0;
    }
    static char buffer[256];
    std::copy_n(text, std::min<std::size_t>(std::char_traits<char>::length(text) + 1, 255), buffer);
    std::thread overwriting([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        buffer[0] = 'X';
    });
    request->call(result, buffer);
    overwriting.join();
    return 0;
}

}  // namespace

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    return startInstead({client_id, callback, user_data}, client_secret, onToken);
}
