// The service's event loop.

#include "loop.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace {

TEST(ALoop, TellsThatTheSystemHasNoneLeft) {
    rlimit former{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &former), 0);
    const rlimit none{0, former.rlim_max};
    std::string told;
    int code = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    try {
        const service::Loop loop;
    } catch (const std::system_error& error) {
        told = error.what();
        code = error.code().value();
    }
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &former), 0);
    EXPECT_EQ(told, "event loop: Too many open files");
    EXPECT_EQ(code, EMFILE);
}

}  // namespace
