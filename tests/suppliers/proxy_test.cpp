// sso_give_proxy, which the plug-in calls when a page goes, with operations of several threads.

#include <sso_api.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "at_once.h"
#include "operations.h"
#include "promise.h"

namespace suppliers {
namespace {

using std::chrono::milliseconds;

constexpr int kThreads = 4;

TEST(AccountProxy, MayBeGivenBackByWhoStartedNothing) {
    promise(
        "sso_give_proxy may be called when nothing is outstanding, any number of times: each page "
        "that goes calls it, and most have asked for nothing");
    for (int n = 0; n < 20; ++n) {
        sso_give_proxy();
    }
    waitForStragglers();
    EXPECT_EQ(callbacks(), 0) << "seen: a callback, though nothing was started";
}

TEST(AccountProxy, WaitsForTheSlowCallbacksOfSeveralThreads) {
    promise(
        "sso_give_proxy waits for all callbacks that run and lets none come after, whichever "
        "threads started them: the plug-in does not guard itself, and a late one reads a handler "
        "that is gone");
    const auto startable = startableOperations();
    duringCallbacks([](const char*) { std::this_thread::sleep_for(milliseconds(30)); });
    std::atomic<int> started{0};
    atOnce(kThreads, [&](int) {
        for (int round = 0; round < 3; ++round) {
            for (const Operation& operation : startable) {
                started += operation.start().isRefused() ? 0 : 1;
            }
            std::this_thread::sleep_for(milliseconds(20));
        }
    });
    if (started == 0) {
        NOT_APPLICABLE("no operation starts here: each returns -1");
    }
    comes([] { return runningCallbacks() > 0; });
    sso_give_proxy();
    const int running = runningCallbacks();
    const int before = callbacks();
    waitForStragglers();
    EXPECT_EQ(running, 0) << "seen: callbacks that run when it has returned: " << running;
    EXPECT_EQ(callbacks(), before)
        << "seen: callbacks after it has returned: " << callbacks() - before;
}

TEST(AccountProxy, CallsNobodyBackWhoWasRefused) {
    promise(
        "an operation whose start returned -1 never calls back: the plug-in has answered the page "
        "already, and a second answer would be taken for another request's");
    const auto startable = startableOperations();
    std::mutex mutex;
    std::vector<const Started*> all;
    std::atomic<bool> done{false};
    std::atomic<bool> hasRefused{false};
    std::thread starter([&] {
        atOnce(kThreads, [&](int) {
            for (int round = 0; round < 10 || !done; ++round) {
                for (const Operation& operation : startable) {
                    const Started& started = operation.start();
                    if (started.isRefused()) hasRefused = true;
                    const std::lock_guard lock(mutex);
                    all.push_back(&started);
                }
                std::this_thread::sleep_for(milliseconds(5));
            }
        });
    });
    // While it runs, a library refuses: then operations that were told -1 are many.
    duringCallbacks([](const char*) { std::this_thread::sleep_for(milliseconds(1)); });
    // On a busy machine a start may be long in coming that falls into it.
    for (int n = 0; n < 5 || (n < 200 && !hasRefused); ++n) {
        std::this_thread::sleep_for(milliseconds(20));
        sso_give_proxy();
    }
    done = true;
    starter.join();
    sso_give_proxy();
    waitForStragglers();
    int refused = 0;
    int called = 0;
    for (const Started* started : all) {
        refused += started->isRefused() ? 1 : 0;
        called += started->isRefused() && started->callbacks > 0 ? 1 : 0;
    }
    if (refused == 0) {
        NOT_APPLICABLE("no start was refused");
    }
    EXPECT_EQ(called, 0) << "seen: " << called << " of " << refused
                         << " operations that returned -1 called back";
}

TEST(AccountProxy, CallsNobodyBackTwice) {
    promise(
        "an operation that sso_give_proxy cuts short calls back at most once: what the plug-in "
        "posts is the page's only answer");
    const auto startable = startableOperations();
    std::vector<const Started*> all;
    for (int round = 0; round < 5; ++round) {
        for (const Operation& operation : startable) {
            all.push_back(&operation.start());
        }
        std::this_thread::sleep_for(milliseconds(25 * round));
        sso_give_proxy();
    }
    waitForStragglers();
    int started = 0;
    int twice = 0;
    for (const Started* one : all) {
        started += one->isRefused() ? 0 : 1;
        twice += one->callbacks > 1 ? 1 : 0;
    }
    if (started == 0) {
        NOT_APPLICABLE("no operation starts here: each returns -1");
    }
    EXPECT_EQ(twice, 0) << "seen: " << twice << " operations called back more than once";
}

}  // namespace
}  // namespace suppliers
