// bench-account: how long the client library's calls take with whoever is behind it. Prints a JSON object of
// microseconds, each the mean of a call.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <future>
#include <nlohmann/json.hpp>
#include <string>

#include "sso_api.h"

namespace {

constexpr int kCalls = 300;

/// Runs a call that many times, one after the other; the first ones have been elsewhere.
double microsecondsOf(const std::function<void(int number)>& call) {
    using Clock = std::chrono::steady_clock;
    for (int i = 0; i < 20; ++i) call(-1 - i);
    const Clock::time_point begin = Clock::now();
    for (int i = 0; i < kCalls; ++i) call(i);
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count() / kCalls;
}

/// A failure makes the measurement worthless.
void require(int result, const char* what) {
    if (result == SSO_OK) return;
    std::fprintf(stderr, "bench-account: %s gave %d\n", what, result);
    std::exit(1);
}

int onText(void* done, int result, char* /*text*/) {
    static_cast<std::promise<int>*>(done)->set_value(result);
    return 0;
}

int onResult(void* done, int result) {
    static_cast<std::promise<int>*>(done)->set_value(result);
    return 0;
}

/// Starts an operation and waits for its callback.
template <typename Start>
void complete(const char* what, Start start) {
    std::promise<int> done;
    require(start(&done), what);
    require(done.get_future().get(), what);
}

nlohmann::json measure() {
    nlohmann::json times;
    times["login state"] = microsecondsOf([](int) {
        int state = 0;
        require(sso_get_login_state(&state), "sso_get_login_state");
    });
    times["GUID"] = microsecondsOf([](int) {
        char* guid = nullptr;
        require(sso_get_guid(&guid), "sso_get_guid");
        std::free(guid);
    });
    times["token"] = microsecondsOf([](int) {
        complete("sso_request_access_token", [](void* done) {
            return sso_request_access_token("demo-client", "demo-secret", &onText, done);
        });
    });
    const auto user = [](int number) { return "user-" + std::to_string(number); };
    times["add a mapping"] = microsecondsOf([&](int number) {
        complete("sso_add_cp_account_mapping_info", [&](void* done) {
            return sso_add_cp_account_mapping_info("bench", "partner", user(number).c_str(),
                                                   &onResult, done);
        });
    });
    times["remove a mapping"] = microsecondsOf([&](int number) {
        complete("sso_remove_cp_account_mapping_info", [&](void* done) {
            return sso_remove_cp_account_mapping_info("bench", "partner", user(number).c_str(),
                                                      &onResult, done);
        });
    });
    return times;
}

}  // namespace

int main() {
    try {
        std::printf("%s\n", measure().dump().c_str());
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench-account: %s\n", error.what());
        return 1;
    }
}
