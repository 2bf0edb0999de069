#ifndef SUPPLIERS_PROMISE_H_
#define SUPPLIERS_PROMISE_H_

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

namespace suppliers {

/// The first statement of each test: what a supplier promises, and what the plug-in needs it for.
/// It is printed before anything can crash, for scripts/check-suppliers.
inline void promise(const std::string& sentence) {
    std::printf("promise: %s\n", sentence.c_str());
    std::fflush(stdout);
}

/// Ends a test that cannot be made here, which is another thing than a broken promise.
#define NOT_APPLICABLE(reason) GTEST_SKIP() << "not applicable: " << (reason)

/// @return whether the one who runs the tests has allowed something: an environment variable is "1".
inline bool isAllowed(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && std::string(value) == "1";
}

/// How long a test waits for what has to come: half of what scripts/check-suppliers gives a test.
inline std::chrono::milliseconds patience() {
    const char* value = std::getenv("SSO_SUPPLIERS_PATIENCE_MS");
    return std::chrono::milliseconds(value != nullptr ? std::atoi(value) : 10000);
}

/// @return whether it came to hold before the patience ran out.
template <typename Condition>
bool comes(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + patience();
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace suppliers

#endif
