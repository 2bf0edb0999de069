// Processes that fork, with the service behind: a child has a connection of its own, and leaves its parent's alone.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "forking.h"
#include "module_path.h"
#include "process.h"
#include "sanitizer.h"
#include "service_process.h"

namespace {

class AForkOfAProcess : public ::testing::Test {
  protected:
    void SetUp() override {
        if (SSO_THREAD_SANITIZED != 0) {
            GTEST_SKIP() << "the thread sanitizer loses its way in a fork that starts threads";
        }
    }

    /// What a process tells of its steps, and its children of theirs; see tests/unit/sso_api/probe.cpp. All leave by exit().
    ///
    /// @param popupMs  after which the login page is closed by itself.
    std::string outputOf(const std::vector<std::string>& steps, int popupMs = 0) {
        ServiceProcess::instance().requireBus();
        EXPECT_TRUE(ServiceProcess::instance().load(
            R"({"account": {"loginId": "l", "uid": "u", "guid": "guid-1", "authToken": "a"},
                "clients": [{"id": "client", "secret": "secret", "token": "token-1"}],
                "popups": {"login": {"state": "closed", "delayMs": )" +
            std::to_string(popupMs) + "}}}"));
        std::vector<std::string> command = {support::builtPath("bin/sso-account-probe")};
        command.insert(command.end(), steps.begin(), steps.end());
        support::ProcessOptions options;
        options.timeout = std::chrono::seconds(30);
        options.environment = support::forksMayRunOn();
        const support::ProcessResult result = support::runProcess(command, options);
        EXPECT_FALSE(result.timedOut);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.errors, "");
        return result.output;
    }
};

TEST_F(AForkOfAProcess, HasOperationsAndQueriesOfItsOwn) {
    EXPECT_EQ(
        outputOf({"token", "fork", "outstanding", "state", "token", "guid", "popup", "give"}),
        "text 0 token-1\noutstanding 0\nstate 0 1\ntext 0 token-1\nguid 0 guid-1\npopup 0 1\n");
}

TEST_F(AForkOfAProcess, BeforeTheFirstOperationIsLikeAny) {
    EXPECT_EQ(outputOf({"fork", "guid", "token"}), "guid 0 guid-1\ntext 0 token-1\n");
}

TEST_F(AForkOfAProcess, HasNoneOfTheOperationsThatAreItsParents) {
    EXPECT_EQ(outputOf({"start", "held", "fork", "outstanding", "token", "guid", "give"}, 600000),
              "outstanding 0\ntext 0 token-1\nguid 0 guid-1\n");
}

TEST_F(AForkOfAProcess, MayForkItself) {
    EXPECT_EQ(outputOf({"guid", "fork", "guid", "fork", "token", "fork", "token", "guid"}),
              "guid 0 guid-1\nguid 0 guid-1\ntext 0 token-1\ntext 0 token-1\nguid 0 guid-1\n");
}

TEST_F(AForkOfAProcess, MayBeMadeInsideACallback) {
    EXPECT_EQ(outputOf({"fork-inside"}), "text 0 token-1\n");
}

class AForkAmongThreads : public AForkOfAProcess {
  protected:
    void SetUp() override {
        if (SSO_SANITIZED != 0) {
            GTEST_SKIP() << "a sanitizer's allocator may stay locked in a forked child";
        }
    }
};

TEST_F(AForkAmongThreads, MayBeMadeWhileAnotherMakesTheConnection) {
    EXPECT_EQ(outputOf({"fork-while-other-connects", "guid", "token"}),
              "guid 0 guid-1\ntext 0 token-1\n");
}

TEST_F(AForkAmongThreads, MayBeMadeWhileTheyAreBusy) {
    EXPECT_EQ(outputOf({"fork-busily", "token"}), "text 0 token-1\n");
}

}  // namespace
