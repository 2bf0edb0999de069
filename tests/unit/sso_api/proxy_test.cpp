// Handing the proxy back, which ends what is outstanding.

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "fixture.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;

const std::string kPopupsAtOnce =
    R"({"account": {"loginId": "", "uid": "", "guid": "", "authToken": ""}, "signedIn": false,
        "popups": {"login": {"delayMs": 0}}})";

using GivingTheProxyBack = TheClientLibrary;

TEST_F(GivingTheProxyBack, CancelsWhatIsOutstandingBeforeItReturns) {
    sso_api_control_set_held(1);
    Callbacks callbacks;
    callbacks.startAll();
    EXPECT_EQ(sso_give_proxy(), 0);
    EXPECT_THAT(
        callbacks.now(),
        ElementsAre("show: -3 state 3", "show_term_page: -3 state 3",
                    "request_access_token: -3 null", "get_cp_account_mapping_list: -3 null",
                    "add_cp_account_mapping_info: -3", "remove_cp_account_mapping_info: -3"));
    EXPECT_THAT(callbacks.threads(), Each(threadName()));
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(GivingTheProxyBack, CancelsWhatWouldEndByItselfLater) {
    useAccount(R"({"popups": {"login": {"delayMs": 600000}, "createAccount": {"delayMs": 600000},
                              "terms": {"delayMs": 600000}},
                   "requestDelayMs": 600000})");
    Callbacks callbacks;
    callbacks.startAll();
    EXPECT_EQ(sso_give_proxy(), 0);
    EXPECT_EQ(callbacks.now().size(), 6U);
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(GivingTheProxyBack, DoesNothingWhenNothingIsOutstanding) {
    EXPECT_EQ(sso_give_proxy(), 0);
    EXPECT_EQ(sso_give_proxy(), 0);
}

TEST_F(GivingTheProxyBack, LetsOperationsStartAfterwards) {
    useAccount(kPopupsAtOnce);
    EXPECT_EQ(show("page"), "0 state 0");
    sso_give_proxy();
    EXPECT_EQ(show("page"), "0 state 0");
}

TEST_F(GivingTheProxyBack, KeepsTheAccount) {
    useAccount(R"({"account": {"loginId": "l", "uid": "u", "guid": "guid-1", "authToken": "t"}})");
    EXPECT_EQ(add("a", "p", "u"), "0");
    sso_give_proxy();
    EXPECT_EQ(guid(), "0 guid-1");
    EXPECT_EQ(add("a", "p", "u"), "-6");
}

/// Waits until no operation can be started: while the proxy is being given back. What starts before
/// is held, so that it is there to be cancelled.
void waitForTheEndOfStarts() {
    const auto popup = [](void*, int, sso_popup_state_e) { return 0; };
    sso_api_control_set_held(1);
    while (sso_show(nullptr, 0, "", popup, nullptr) != -1) {
        std::this_thread::yield();
    }
}

TEST_F(GivingTheProxyBack, WaitsForACallbackThatRuns) {
    useAccount(kPopupsAtOnce);
    std::atomic<bool> inside = false;
    std::atomic<bool> leave = false;
    Callbacks callbacks;
    callbacks.inside = [&](const std::string&) {
        inside = true;
        while (!leave) std::this_thread::yield();
    };
    callbacks.show("login");
    while (!inside) std::this_thread::yield();
    std::atomic<bool> given = false;
    std::thread giver([&] {
        sso_give_proxy();
        given = true;
        EXPECT_THAT(callbacks.now(), ElementsAre("login: 0 state 0"));
    });
    waitForTheEndOfStarts();
    EXPECT_FALSE(given);
    leave = true;
    giver.join();
}

TEST_F(GivingTheProxyBack, WaitsForACallbackThatAnotherThreadFinishes) {
    sso_api_control_set_held(1);
    std::atomic<bool> inside = false;
    std::atomic<bool> leave = false;
    Callbacks callbacks;
    callbacks.inside = [&](const std::string&) {
        inside = true;
        while (!leave) std::this_thread::yield();
    };
    callbacks.show("login");
    std::thread finisher([&] { support::finish(0, {5, 6, nullptr}); });
    while (!inside) std::this_thread::yield();
    std::thread giver([&] {
        sso_give_proxy();
        EXPECT_THAT(callbacks.now(), ElementsAre("login: 5 state 6"));
    });
    waitForTheEndOfStarts();
    leave = true;
    giver.join();
    finisher.join();
}

TEST_F(GivingTheProxyBack, FromInsideACallbackDoesNotWaitForItself) {
    useAccount(kPopupsAtOnce);
    Callbacks callbacks;
    callbacks.inside = [](const std::string&) { EXPECT_EQ(sso_give_proxy(), 0); };
    callbacks.show("login");
    EXPECT_THAT(callbacks.waitFor(1), ElementsAre("login: 0 state 0"));
}

TEST_F(GivingTheProxyBack, FromInsideACallbackCancelsTheOthers) {
    sso_api_control_set_held(1);
    Callbacks held;
    held.show("held");
    sso_api_control_set_held(0);
    useAccount(kPopupsAtOnce);
    Callbacks callbacks;
    std::vector<std::string> inside;
    callbacks.inside = [&](const std::string&) {
        sso_give_proxy();
        inside = held.now();
    };
    callbacks.show("login");
    callbacks.waitFor(1);
    EXPECT_THAT(inside, ElementsAre("held: -3 state 3"));
    EXPECT_THAT(held.threads(), ElementsAre("sso-api"));
}

TEST_F(GivingTheProxyBack, FromInsideACallbackWaitsForAllOthers) {
    useAccount(kPopupsAtOnce);
    std::atomic<bool> inside = false;
    std::atomic<bool> leave = false;
    Callbacks running;
    running.inside = [&](const std::string&) {
        inside = true;
        while (!leave) std::this_thread::yield();
    };
    running.show("running");
    while (!inside) std::this_thread::yield();
    sso_api_control_set_held(1);
    Callbacks callbacks;
    callbacks.inside = [&](const std::string&) {
        sso_give_proxy();
        EXPECT_THAT(running.now(), ElementsAre("running: 0 state 0"));
    };
    callbacks.show("giver");
    std::thread finisher([&] { EXPECT_EQ(support::finish(0, {0, 0, nullptr}), 0); });
    waitForTheEndOfStarts();
    leave = true;
    finisher.join();
    EXPECT_THAT(callbacks.now(), ElementsAre("giver: 0 state 0"));
}

TEST_F(GivingTheProxyBack, WaitsForACallbackThatGivesItBackToo) {
    for (int round = 0; round < 100; ++round) {
        useAccount(kPopupsAtOnce);
        std::atomic<bool> inside = false;
        std::atomic<bool> leave = false;
        Callbacks running;
        running.inside = [&](const std::string&) {
            inside = true;
            while (!leave) std::this_thread::yield();
        };
        running.show("running");
        while (!inside) std::this_thread::yield();
        sso_api_control_set_held(1);
        Callbacks giving;
        giving.inside = [&](const std::string&) {
            sso_give_proxy();  // waits for the one that runs
            for (int i = 0; i < 100; ++i) std::this_thread::yield();
        };
        giving.show("giving");
        std::thread finisher([&] { support::finish(0, {0, 0, nullptr}); });
        waitForTheEndOfStarts();
        std::thread giver([&] {
            sso_give_proxy();
            EXPECT_THAT(running.now(), ElementsAre("running: 0 state 0"));
            EXPECT_THAT(giving.now(), ElementsAre("giving: 0 state 0"));
        });
        leave = true;
        giver.join();
        finisher.join();
        sso_api_control_set_held(0);
    }
}

TEST_F(GivingTheProxyBack, FromInsideCancelledCallbacksEnds) {
    sso_api_control_set_held(1);
    Callbacks callbacks;
    callbacks.inside = [](const std::string&) { sso_give_proxy(); };
    callbacks.show("1");
    callbacks.show("2");
    callbacks.show("3");
    sso_give_proxy();
    // Each one's callback cancels the next, and counts when that has ended.
    EXPECT_THAT(callbacks.now(), ElementsAre("3: -3 state 3", "2: -3 state 3", "1: -3 state 3"));
}

TEST_F(GivingTheProxyBack, FromInsideTwoCallbacksAtOnceEnds) {
    useAccount(kPopupsAtOnce);
    sso_api_control_set_held(1);
    Callbacks callbacks;
    std::atomic<int> inside = 0;
    callbacks.inside = [&](const std::string&) {
        ++inside;
        while (inside < 2) std::this_thread::yield();
        sso_give_proxy();
    };
    callbacks.show("held");
    sso_api_control_set_held(0);
    callbacks.show("own");
    EXPECT_EQ(support::finish(0, {0, 0, nullptr}), 0);
    callbacks.waitFor(2);
    EXPECT_THAT(callbacks.now(),
                ::testing::UnorderedElementsAre("held: 0 state 0", "own: 0 state 0"));
    EXPECT_EQ(show("page"), "0 state 0");
}

TEST_F(GivingTheProxyBack, RefusesWhatACancelledCallbackStarts) {
    sso_api_control_set_held(1);
    Callbacks callbacks;
    std::vector<int> results;
    callbacks.inside = [&](const std::string& operation) {
        if (operation == "first") results.push_back(callbacks.show("second"));
    };
    callbacks.show("first");
    sso_give_proxy();
    EXPECT_EQ(results, std::vector<int>{-1});
    EXPECT_THAT(callbacks.now(), ElementsAre("first: -3 state 3"));
    EXPECT_EQ(callbacks.show("third"), 0);
    EXPECT_EQ(sso_api_control_outstanding(), 1);
    EXPECT_EQ(support::finish(0, {0, 0, nullptr}), 0);
}

TEST_F(GivingTheProxyBack, RefusesWhatACallbackThatRunsStarts) {
    useAccount(kPopupsAtOnce);
    std::atomic<bool> inside = false;
    std::atomic<int> started = 77;
    Callbacks callbacks;
    callbacks.inside = [&](const std::string& operation) {
        if (operation != "first") return;
        inside = true;
        waitForTheEndOfStarts();
        started = callbacks.show("second");
    };
    callbacks.show("first");
    while (!inside) std::this_thread::yield();
    sso_give_proxy();
    EXPECT_EQ(started, -1);
    EXPECT_THAT(callbacks.now(), ElementsAre("first: 0 state 0"));
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

}  // namespace
