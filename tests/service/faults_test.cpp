// The service, the bus, the agent that shows windows, and the process that uses them end at any moment: every operation
// has one callback, and what was acknowledged is kept.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "database.h"
#include "operations_under_way.h"
#include "rounds.h"
#include "service_process.h"
#include "sso_api.h"

namespace {

using namespace std::chrono_literals;
using support::rounds;
using Clock = std::chrono::steady_clock;

class WhenSomethingIsKilled : public ::testing::Test {
  protected:
    void SetUp() override { start(); }

    /// Somebody is signed in who has no mapping.
    void start(const std::string& further = "") {
        ServiceProcess::instance().requireBus();
        ASSERT_TRUE(ServiceProcess::instance().load(
            R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "t"})" + further +
            "}"));
    }

    void expectKept(const std::set<std::string>& acknowledged) {
        const std::set<std::string> kept = mappedUsers(ServiceProcess::instance().database());
        for (const std::string& name : acknowledged) EXPECT_EQ(kept.count(name), 1U) << name;
        EXPECT_EQ(integrity(ServiceProcess::instance().database()), "ok");
    }

    std::mt19937 m_random{20261122};
    std::chrono::microseconds upTo(int microseconds) {
        return std::chrono::microseconds(
            std::uniform_int_distribution<int>(0, microseconds)(m_random));
    }
};

struct Victim {
    const char* name;
    void (*kill)(ServiceProcess& process);
};

struct Ended {
    const char* name;
    const char* cause;  ///< as it is told
    void (*kill)(ServiceProcess& process);
};

class AHundredOperations : public WhenSomethingIsKilled,
                           public ::testing::WithParamInterface<Ended> {};

class AThousandOperations : public WhenSomethingIsKilled,
                            public ::testing::WithParamInterface<Victim> {};

TEST_P(AThousandOperations, HaveOneCallbackEachAsItEnds) {
    for (int round = 0; round < rounds(4); ++round) {
        SCOPED_TRACE(round);
        start();
        ServiceProcess& process = ServiceProcess::instance();
        process.startAgent();
        OperationsUnderWay operations;
        std::thread killer([&] {
            std::this_thread::sleep_for(upTo(300000));
            GetParam().kill(process);
        });
        for (int i = 0; i < 980; ++i) {
            operations.addMapping("user-" + std::to_string(i));
            if (i % 49 == 0) operations.showLogin();
        }
        killer.join();
        // Without a service its agent has nothing to show; without its agent every popup ends.
        process.killAgent();
        ASSERT_TRUE(operations.wait(20s));
        operations.expectOneCallbackEach();
        expectKept(operations.done());
    }
}

INSTANTIATE_TEST_SUITE_P(
    WhenKilled, AThousandOperations,
    ::testing::Values(Victim{"TheService",
                             [](ServiceProcess& process) { process.killService(SIGKILL); }},
                      Victim{"TheBus", [](ServiceProcess& process) { process.killBus(); }},
                      Victim{"TheAgent", [](ServiceProcess& process) { process.killAgent(); }}),
    [](const auto& test) { return test.param.name; });

TEST_F(WhenSomethingIsKilled, ThePopupsOfAnAgentAreCancelledAndNothingElse) {
    for (int round = 0; round < rounds(4); ++round) {
        SCOPED_TRACE(round);
        start();
        ServiceProcess& process = ServiceProcess::instance();
        const auto service = process.service();
        process.startAgent();
        OperationsUnderWay popups;
        OperationsUnderWay mappings;
        for (int i = 0; i < 20; ++i) popups.showLogin();
        for (int i = 0; i < 100; ++i) mappings.addMapping("user-" + std::to_string(i));
        EXPECT_FALSE(popups.wait(upTo(100000)));
        process.killAgent();
        EXPECT_TRUE(popups.wait(2s));
        popups.expectOneCallbackEach();
        EXPECT_EQ(popups.count(SSO_ERROR_CANCELLED), 20);
        EXPECT_TRUE(mappings.wait(20s));
        mappings.expectOneCallbackEach();
        EXPECT_EQ(mappings.count(SSO_OK), 100);
        expectKept(mappings.done());
        EXPECT_EQ(process.service(), service);
    }
}

/// Waits until so many are open. @return whether they are, in time.
bool hasOpenPopups(int count) {
    const Clock::time_point end = Clock::now() + std::chrono::seconds(5);
    while (ServiceProcess::instance().openPopups() != count) {
        if (Clock::now() > end) return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

TEST_F(WhenSomethingIsKilled, APopupHasNoOwnerThatGaveTheLibraryUpAndStays) {
    ServiceProcess& process = ServiceProcess::instance();
    process.startAgent();
    OperationsUnderWay popups;
    for (int i = 0; i < 3; ++i) popups.showLogin();
    EXPECT_TRUE(hasOpenPopups(3));
    sso_give_proxy();
    EXPECT_TRUE(hasOpenPopups(0));
    process.killAgent();
}

TEST_F(WhenSomethingIsKilled, TheServiceGoesOnWithoutTheProcessThatAsked) {
    for (int round = 0; round < rounds(4); ++round) {
        SCOPED_TRACE(round);
        start();
        // Not a fork, which has no threads: a program of its own, which adds mappings for ever.
        const pid_t user = ServiceProcess::instance().startUser();
        std::this_thread::sleep_for(20ms + upTo(100000));
        kill(user, SIGKILL);
        waitpid(user, nullptr, 0);
        int state = -1;
        EXPECT_EQ(sso_get_login_state(&state), SSO_OK);
        EXPECT_EQ(state, SSO_LOGIN_STATE_SIGNED_IN);
        EXPECT_EQ(integrity(ServiceProcess::instance().database()), "ok");
    }
}

TEST_F(WhenSomethingIsKilled, WhatWasAcknowledgedIsKeptWhateverWasWritten) {
    for (int round = 0; round < rounds(25); ++round) {
        SCOPED_TRACE(round);
        std::atomic<bool> killed{false};
        std::thread killer([&] {
            std::this_thread::sleep_for(upTo(20000));
            ServiceProcess::instance().killService(SIGKILL);
            killed = true;
        });
        OperationsUnderWay operations;
        for (int i = 0; !killed; ++i) {
            operations.addMapping("round-" + std::to_string(round) + "-" + std::to_string(i));
            ASSERT_TRUE(operations.wait(20s));
        }
        killer.join();
        operations.expectOneCallbackEach();
        expectKept(operations.done());
    }
}

TEST_F(WhenSomethingIsKilled, TheServiceIsThereAgainForTheNextCall) {
    ServiceProcess::instance().killService(SIGKILL);
    char* guid = nullptr;
    const auto before = Clock::now();
    EXPECT_EQ(sso_get_guid(&guid), SSO_OK);
    EXPECT_STREQ(guid, "g");
    std::free(guid);
    EXPECT_LT(Clock::now() - before, 1s);
}

using AnOperationThatWasGivenUp = WhenSomethingIsKilled;

TEST_F(AnOperationThatWasGivenUp, ChangesNothingLater) {
    start(R"(, "requestDelayMs": 300)");
    OperationsUnderWay operations;
    operations.addMapping("user");
    EXPECT_EQ(operations.countStarted(), 1);
    EXPECT_EQ(sso_give_proxy(), SSO_OK);
    operations.expectOneCallbackEach();
    EXPECT_TRUE(operations.done().empty());
    std::this_thread::sleep_for(1s);
    EXPECT_TRUE(mappedUsers(ServiceProcess::instance().database()).empty());
}

/// Whoever looks for the cause has it from the library, once, however many operations it ends; and again the next time.
TEST_P(AHundredOperations, HaveTheCauseToldOnce) {
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        start(R"(, "requestDelayMs": 60000)");
        OperationsUnderWay operations;
        for (int i = 0; i < 100; ++i) operations.addMapping("user-" + std::to_string(i));
        EXPECT_EQ(operations.countStarted(), 100);
        // Answered after them: one still on its way would be the next service's.
        int state = -1;
        ASSERT_EQ(sso_get_login_state(&state), SSO_OK);
        ::testing::internal::CaptureStderr();
        GetParam().kill(ServiceProcess::instance());
        EXPECT_TRUE(operations.wait(8s));
        EXPECT_EQ(::testing::internal::GetCapturedStderr(),
                  std::string("sso_api: the account service does not answer: ") + GetParam().cause +
                      "\n");
        operations.expectOneCallbackEach();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Killed, AHundredOperations,
    ::testing::Values(
        Ended{"Service", "Message recipient disconnected from message bus without replying",
              [](ServiceProcess& process) { process.killService(SIGKILL); }},
        Ended{"Bus", "Connection terminated", [](ServiceProcess& process) { process.killBus(); }}),
    [](const auto& info) { return std::string(info.param.name); });

/// A service that is stopped keeps its name, and says nothing.
class ASilentService : public WhenSomethingIsKilled {
  protected:
    void TearDown() override { ServiceProcess::instance().killService(SIGCONT); }
};

TEST_F(ASilentService, FailsQueriesWithinTheirBound) {
    ServiceProcess::instance().killService(SIGSTOP);
    const auto before = Clock::now();
    int state = 7;
    EXPECT_EQ(sso_get_login_state(&state), SSO_ERROR_UNAVAILABLE);
    EXPECT_EQ(state, 7);
    EXPECT_GE(Clock::now() - before, 2s);
    EXPECT_LT(Clock::now() - before, 4s);
}

TEST_F(ASilentService, StartsNothing) {
    ServiceProcess::instance().killService(SIGSTOP);
    OperationsUnderWay operations;
    operations.addMapping("user");
    EXPECT_EQ(operations.countStarted(), 0);
}

TEST_F(ASilentService, EndsWhatWasUnderWay) {
    start(R"(, "requestDelayMs": 60000)");
    OperationsUnderWay operations;
    for (int i = 0; i < 100; ++i) operations.addMapping("user-" + std::to_string(i));
    EXPECT_EQ(operations.countStarted(), 100);
    ::testing::internal::CaptureStderr();
    ServiceProcess::instance().killService(SIGSTOP);
    EXPECT_TRUE(operations.wait(8s));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "sso_api: the account service does not answer: it is silent\n");
    operations.expectOneCallbackEach();
    EXPECT_TRUE(operations.done().empty());
}

// It answers whoever asks whether it is there, though not yet the call.
TEST_F(ASilentService, IsNoneThatTakesItsTime) {
    start(R"(, "requestDelayMs": 2500)");
    OperationsUnderWay operations;
    operations.addMapping("user");
    EXPECT_TRUE(operations.wait(8s));
    operations.expectOneCallbackEach();
    EXPECT_EQ(operations.done(), std::set<std::string>{"user"});
}

TEST_F(ASilentService, DoesNotHoldUpTheEnd) {
    start(R"(, "requestDelayMs": 60000)");
    OperationsUnderWay operations;
    operations.addMapping("user");
    ServiceProcess::instance().killService(SIGSTOP);
    const auto before = Clock::now();
    EXPECT_EQ(sso_give_proxy(), SSO_OK);
    EXPECT_LT(Clock::now() - before, 1s);
    operations.expectOneCallbackEach();
}

}  // namespace
