// The service, the bus, and the process that uses them end at any moment: every operation has one callback, and what
// was acknowledged is kept.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "database.h"
#include "service_process.h"
#include "sso_api.h"
#include "sso_api_control.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// How often each fault is repeated: SSO_TEST_ROUNDS, for those who have time.
int rounds(int usual) {
    const char* text = std::getenv("SSO_TEST_ROUNDS");
    return text != nullptr ? std::atoi(text) : usual;
}

/// Operations that are under way, with what became of each.
class Operations {
  public:
    struct One {
        Operations* owner = nullptr;
        std::string name;
        std::atomic<int> callbacks{0};
        std::atomic<int> result{0};
    };

    ~Operations() { sso_give_proxy(); }

    /// Adds a mapping with this partner's user.
    void add(const std::string& cpUid) {
        One& one = m_all.emplace_back();
        one.owner = this;
        one.name = cpUid;
        const int started =
            sso_add_cp_account_mapping_info("app", "partner", cpUid.c_str(), &ended, &one);
        if (started != SSO_ERROR_NOT_STARTED) {
            ++m_started;
        } else {
            ++one.callbacks;  // it will have none
            one.result = started;
        }
    }

    bool wait(std::chrono::milliseconds bound) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, bound, [&] { return m_ended == m_started; });
    }

    void expectOneCallbackEach() const {
        for (const One& one : m_all) EXPECT_EQ(one.callbacks, 1) << one.name;
    }

    /// Those that were acknowledged.
    std::set<std::string> done() const {
        std::set<std::string> names;
        for (const One& one : m_all) {
            if (one.result == SSO_OK) names.insert(one.name);
        }
        return names;
    }

    int started() const { return m_started; }

  private:
    static int ended(void* user, int result) {
        One& one = *static_cast<One*>(user);
        ++one.callbacks;
        one.result = result;
        const std::lock_guard lock(one.owner->m_mutex);
        ++one.owner->m_ended;
        one.owner->m_changed.notify_all();
        return 0;
    }

    std::deque<One> m_all;
    int m_started = 0;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_ended = 0;
};

class WhenSomethingIsKilled : public ::testing::Test {
  protected:
    void SetUp() override { start(); }

    /// Somebody is signed in who has no mapping.
    void start() {
        ServiceProcess::instance().requireBus();
        ASSERT_EQ(
            sso_api_control_set_account(
                R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "t"}})"),
            SSO_OK);
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

TEST_F(WhenSomethingIsKilled, AThousandOperationsHaveOneCallbackEachAsTheServiceEnds) {
    for (int round = 0; round < rounds(4); ++round) {
        SCOPED_TRACE(round);
        start();
        Operations operations;
        std::thread killer([&] {
            std::this_thread::sleep_for(upTo(300000));
            ServiceProcess::instance().killService(SIGKILL);
        });
        for (int i = 0; i < 1000; ++i) operations.add("user-" + std::to_string(i));
        killer.join();
        ASSERT_TRUE(operations.wait(20s));
        operations.expectOneCallbackEach();
        expectKept(operations.done());
    }
}

TEST_F(WhenSomethingIsKilled, AThousandOperationsHaveOneCallbackEachAsTheBusEnds) {
    for (int round = 0; round < rounds(4); ++round) {
        SCOPED_TRACE(round);
        start();
        Operations operations;
        std::thread killer([&] {
            std::this_thread::sleep_for(upTo(300000));
            ServiceProcess::instance().killBus();
        });
        for (int i = 0; i < 1000; ++i) operations.add("user-" + std::to_string(i));
        killer.join();
        ASSERT_TRUE(operations.wait(20s));
        operations.expectOneCallbackEach();
        expectKept(operations.done());
    }
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
        Operations operations;
        for (int i = 0; !killed; ++i) {
            operations.add("round-" + std::to_string(round) + "-" + std::to_string(i));
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
    Operations operations;
    operations.add("user");
    EXPECT_EQ(operations.started(), 0);
}

TEST_F(ASilentService, EndsWhatWasUnderWay) {
    ASSERT_EQ(sso_api_control_set_account(
                  R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "t"},
                      "requestDelayMs": 60000})"),
              SSO_OK);
    Operations operations;
    for (int i = 0; i < 100; ++i) operations.add("user-" + std::to_string(i));
    EXPECT_EQ(operations.started(), 100);
    ServiceProcess::instance().killService(SIGSTOP);
    EXPECT_TRUE(operations.wait(8s));
    operations.expectOneCallbackEach();
    EXPECT_TRUE(operations.done().empty());
}

TEST_F(ASilentService, DoesNotHoldUpTheEnd) {
    ASSERT_EQ(sso_api_control_set_account(
                  R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "t"},
                      "requestDelayMs": 60000})"),
              SSO_OK);
    Operations operations;
    operations.add("user");
    ServiceProcess::instance().killService(SIGSTOP);
    const auto before = Clock::now();
    EXPECT_EQ(sso_give_proxy(), SSO_OK);
    EXPECT_LT(Clock::now() - before, 1s);
    operations.expectOneCallbackEach();
}

}  // namespace
