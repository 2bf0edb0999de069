#include "vconf.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "slow_observer.h"
#include "thread_tools.h"
#include "vconf_control.h"

namespace {

void one(vconf_node*, void*) {}
void other(vconf_node*, void*) {}

class TheConfigurationStore : public ::testing::Test {
  protected:
    ~TheConfigurationStore() override {
        vconf_control_set_observer(nullptr, nullptr);
        vconf_ignore_key_changed("key", nullptr);
        vconf_ignore_key_changed("other key", nullptr);
    }
};

TEST_F(TheConfigurationStore, RemembersSubscriptionsPerKey) {
    EXPECT_EQ(vconf_watch_key_changed("key", &one, nullptr), 0);
    EXPECT_EQ(vconf_watch_key_changed("key", &other, nullptr), 0);
    EXPECT_EQ(vconf_watch_key_changed("other key", &one, nullptr), 0);
    EXPECT_EQ(vconf_control_subscriptions("key"), 2);
    EXPECT_EQ(vconf_control_subscriptions("other key"), 1);
    EXPECT_EQ(vconf_control_subscriptions("unknown key"), 0);
}

TEST_F(TheConfigurationStore, WithdrawsOneCallback) {
    vconf_watch_key_changed("key", &one, nullptr);
    vconf_watch_key_changed("key", &other, nullptr);
    EXPECT_EQ(vconf_ignore_key_changed("key", &one), 0);
    EXPECT_EQ(vconf_control_subscriptions("key"), 1);
    EXPECT_EQ(vconf_ignore_key_changed("key", &one), -1);
}

TEST_F(TheConfigurationStore, WithdrawsEveryCallbackOfAKeyForNull) {
    vconf_watch_key_changed("key", &one, nullptr);
    vconf_watch_key_changed("key", &other, nullptr);
    vconf_watch_key_changed("other key", &one, nullptr);
    EXPECT_EQ(vconf_ignore_key_changed("key", nullptr), 0);
    EXPECT_EQ(vconf_control_subscriptions("key"), 0);
    EXPECT_EQ(vconf_control_subscriptions("other key"), 1);
    EXPECT_EQ(vconf_ignore_key_changed("key", nullptr), -1);
}

TEST_F(TheConfigurationStore, RefusesNullArguments) {
    EXPECT_EQ(vconf_watch_key_changed(nullptr, &one, nullptr), -1);
    EXPECT_EQ(vconf_watch_key_changed("key", nullptr, nullptr), -1);
    EXPECT_EQ(vconf_ignore_key_changed(nullptr, &one), -1);
    EXPECT_EQ(vconf_control_subscriptions("key"), 0);
}

TEST_F(TheConfigurationStore, ServesSeveralThreads) {
    constexpr int kTimes = 200;
    const auto watchAndIgnore = [] {
        EXPECT_EQ(vconf_watch_key_changed("other key", &other, nullptr), 0);
        EXPECT_EQ(vconf_ignore_key_changed("other key", &other), 0);
    };
    int watched = 0;
    support::atTheSameTime(
        [&] {
            EXPECT_EQ(vconf_watch_key_changed("key", &one, nullptr), 0);
            ++watched;
        },
        kTimes, watchAndIgnore);
    EXPECT_EQ(vconf_control_subscriptions("key"), watched);
    support::atTheSameTime([] { EXPECT_LE(vconf_control_subscriptions("other key"), 1); }, kTimes,
                           watchAndIgnore);
    EXPECT_EQ(vconf_ignore_key_changed("key", nullptr), 0);
    support::atTheSameTime([] { EXPECT_EQ(vconf_ignore_key_changed("other key", &one), -1); },
                           kTimes, watchAndIgnore);
    EXPECT_EQ(vconf_control_subscriptions("key"), 0);
    EXPECT_EQ(vconf_control_subscriptions("other key"), 0);
}

TEST_F(TheConfigurationStore, TellsAnObserverOfEachWithdrawal) {
    std::vector<std::string> seen;
    vconf_control_set_observer(
        [](const VconfWithdrawal* withdrawal, void* user) {
            static_cast<std::vector<std::string>*>(user)->push_back(
                std::string(withdrawal->key) + (withdrawal->callback == &one ? " one " : " null ") +
                std::to_string(withdrawal->result));
        },
        &seen);
    vconf_watch_key_changed("key", &one, nullptr);
    vconf_ignore_key_changed("key", &one);
    vconf_ignore_key_changed("key", nullptr);
    EXPECT_EQ(seen, (std::vector<std::string>{"key one 0", "key null -1"}));
}

TEST_F(TheConfigurationStore, TakesNoObserverAwayWhileItRuns) {
    support::SlowObserver slow;
    vconf_control_set_observer([](const VconfWithdrawal*,
                                  void* user) { static_cast<support::SlowObserver*>(user)->run(); },
                               &slow);
    slow.expectRemovalToWait([] { vconf_ignore_key_changed("key", nullptr); },
                             [] { vconf_control_set_observer(nullptr, nullptr); });
}

}  // namespace
