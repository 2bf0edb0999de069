#include "base/observer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

#include "slow_observer.h"
#include "thread_signal.h"
#include "thread_tools.h"

namespace {

using Observer = base::Observer<void (*)(int, void*)>;

// A static one is there before and after everything else.
static_assert(std::is_trivially_destructible_v<Observer>);
#if __has_cpp_attribute(clang::require_constant_initialization)
[[clang::require_constant_initialization]]
#endif
Observer g_observer;

void append(int number, void* numbers) {
    static_cast<std::vector<int>*>(numbers)->push_back(number);
}

void run(int, void* slow) { static_cast<support::SlowObserver*>(slow)->run(); }

class AnObserver : public ::testing::Test {
  protected:
    ~AnObserver() override { g_observer.set(nullptr, nullptr); }
};

TEST_F(AnObserver, IsToldTheArgumentsAndItsOwn) {
    std::vector<int> numbers;
    g_observer.set(&append, &numbers);
    EXPECT_TRUE(g_observer.isSet());
    EXPECT_TRUE(g_observer.tell(1));
    EXPECT_TRUE(g_observer.tell(2));
    EXPECT_EQ(numbers, (std::vector<int>{1, 2}));
}

TEST_F(AnObserver, IsNotThereUnlessItIsSet) {
    EXPECT_FALSE(g_observer.isSet());
    EXPECT_FALSE(g_observer.tell(1));
}

TEST_F(AnObserver, GivesItsPlaceToTheNextOne) {
    std::vector<int> first;
    std::vector<int> second;
    g_observer.set(&append, &first);
    g_observer.tell(1);
    g_observer.set(&append, &second);
    g_observer.tell(2);
    g_observer.set(nullptr, &second);
    EXPECT_FALSE(g_observer.isSet());
    EXPECT_FALSE(g_observer.tell(3));
    EXPECT_EQ(first, std::vector<int>{1});
    EXPECT_EQ(second, std::vector<int>{2});
}

TEST_F(AnObserver, IsNotTakenAwayWhileItRuns) {
    support::SlowObserver slow;
    g_observer.set(&run, &slow);
    slow.expectRemovalToWait([] { g_observer.tell(1); }, [] { g_observer.set(nullptr, nullptr); });
}

TEST_F(AnObserver, IsNotReplacedWhileItRuns) {
    support::SlowObserver slow;
    std::vector<int> numbers;
    g_observer.set(&run, &slow);
    slow.expectRemovalToWait([] { g_observer.tell(1); },
                             [&] { g_observer.set(&append, &numbers); });
    g_observer.tell(2);
    EXPECT_EQ(numbers, std::vector<int>{2});
}

// Neither another call nor the next observer has to wait for a slow one.
TEST_F(AnObserver, HoldsUpNoOtherCallWhileItRuns) {
    struct Slow {
        support::Signal running;
        support::Signal mayEnd;
    } slow;
    g_observer.set(
        [](int number, void* user) {
            auto& self = *static_cast<Slow*>(user);
            if (number == 2) return;
            self.running.give();
            EXPECT_TRUE(self.mayEnd.wait());
        },
        &slow);
    std::thread teller([] { g_observer.tell(1); });
    EXPECT_TRUE(slow.running.wait());
    EXPECT_TRUE(g_observer.tell(2));
    support::Signal replaced;
    std::vector<int> numbers;
    std::thread setter([&] {
        g_observer.set(&append, &numbers);
        replaced.give();
    });
    // Told to the slow one until the next one is there.
    while (numbers.empty()) g_observer.tell(2);
    EXPECT_FALSE(replaced.given());
    slow.mayEnd.give();
    setter.join();
    teller.join();
}

struct Countdown {
    std::vector<int> numbers;
};

void countDown(int number, void* user) {
    auto& self = *static_cast<Countdown*>(user);
    self.numbers.push_back(number);
    if (number > 0) {
        EXPECT_TRUE(g_observer.tell(number - 1));
    }
}

TEST_F(AnObserver, MayTellItself) {
    Countdown countdown;
    g_observer.set(&countDown, &countdown);
    g_observer.tell(3);
    EXPECT_EQ(countdown.numbers, (std::vector<int>{3, 2, 1, 0}));
}

// What it tells while it is being taken away goes to its successor: here, to nobody.
TEST_F(AnObserver, MayTellWhileItIsBeingTakenAway) {
    support::Signal running;
    g_observer.set(
        [](int, void* user) {
            static_cast<support::Signal*>(user)->give();
            while (g_observer.isSet()) std::this_thread::yield();
            EXPECT_FALSE(g_observer.tell(2));
        },
        &running);
    std::thread teller([] { g_observer.tell(1); });
    EXPECT_TRUE(running.wait());
    g_observer.set(nullptr, nullptr);
    teller.join();
}

TEST_F(AnObserver, IsToldByManyThreadsWhileItChanges) {
    struct Counter {
        std::atomic<bool> mayBeCalled = true;
        std::atomic<int> calls = 0;
    };
    const auto count = [](int, void* user) {
        auto& self = *static_cast<Counter*>(user);
        ++self.calls;
        std::this_thread::yield();
        EXPECT_TRUE(self.mayBeCalled);
    };
    constexpr int kSetters = 2;
    constexpr int kTellers = 4;
    std::vector<Counter> countersOf[kSetters] = {std::vector<Counter>(50),
                                                 std::vector<Counter>(50)};
    std::atomic<int> told = 0;
    std::atomic<int> settersLeft = kSetters;
    support::onThreads(kSetters + kTellers, [&](int thread) {
        if (thread >= kSetters) {
            while (settersLeft > 0) told += g_observer.tell(1) ? 1 : 0;
            return;
        }
        Counter* former = nullptr;
        for (Counter& counter : countersOf[thread]) {
            g_observer.set(count, &counter);
            if (former != nullptr) former->mayBeCalled = false;
            former = &counter;
        }
        --settersLeft;
    });
    g_observer.set(nullptr, nullptr);
    int calls = 0;
    for (const auto& counters : countersOf) {
        for (const Counter& counter : counters) calls += counter.calls;
    }
    EXPECT_EQ(calls, told);
}

}  // namespace
