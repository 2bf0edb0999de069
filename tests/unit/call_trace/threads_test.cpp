// Many threads are traced at once, and nobody waits for them.

#include <atomic>
#include <map>
#include <thread>
#include <vector>

#include "fixture.h"
#include "thread_tools.h"

namespace {

using call_trace_test::Ended;
using call_trace_test::Scope;
using call_trace_test::TheTracingService;

constexpr int kThreads = 8;
constexpr int kRounds = 500;

class ManyThreads : public TheTracingService {
  protected:
    /// Each thread calls m_outer kRounds times, which calls m_inner twice, and that itself once.
    void run() {
        support::onThreads(kThreads, [this](int) {
            for (int round = 0; round < kRounds; ++round) {
                Scope outer(m_outer, "outer");
                for (int call = 0; call < 2; ++call) {
                    Scope inner(m_inner, "inner");
                    Scope innermost(m_inner, "innermost");
                }
            }
            ++m_ready;
        });
    }

    std::atomic<int> m_ready = 0;
};

TEST_F(ManyThreads, HaveTheirOwnCallsEach) {
    ht_control_set_enabled(1);
    run();
    ASSERT_EQ(ended().size(), 5U * kThreads * kRounds);
    std::map<std::size_t, int> byDepth;
    std::map<std::string, int> byText;
    for (const Ended& call : ended()) {
        ++byDepth[call.depth];
        ASSERT_EQ(call.texts.size(), 1U);
        ++byText[*call.texts[0]];
    }
    constexpr int kRuns = kThreads * kRounds;
    EXPECT_EQ(byDepth, (std::map<std::size_t, int>{{0, kRuns}, {1, 2 * kRuns}, {2, 2 * kRuns}}));
    EXPECT_EQ(byText, (std::map<std::string, int>{
                          {"inner", 2 * kRuns}, {"innermost", 2 * kRuns}, {"outer", kRuns}}));
    EXPECT_GT(m_outer.id, 0);
    EXPECT_GT(m_inner.id, 0);
    EXPECT_NE(m_outer.id, m_inner.id);
}

TEST_F(ManyThreads, AreTracedWhileEverythingIsSwitched) {
    std::thread switcher([this] {
        const auto ignoreCall = [](const HtCall*, void*) {};
        const auto ignoreStep = [](const char*, const TSCodeLocation*, void*) {};
        for (unsigned turn = 0; m_ready < kThreads; ++turn) {
            int other = -1;
            ht_register_library(&other);
            ht_control_set_enabled(turn % 2 == 0 ? 1 : 0);
            setOrders(turn % 4, turn % 3 == 0);
            ht_control_set_call_observer(ignoreCall, nullptr);
            ht_control_set_step_observer(turn % 5 == 0 ? +ignoreStep : nullptr, nullptr);
            ht_deregister_library(&other);
        }
    });
    run();
    switcher.join();
    EXPECT_EQ(ht_control_registered(nullptr, 0), 1U);
    EXPECT_EQ(ht_control_open_scopes(), 0U);
}

TEST_F(ManyThreads, RegisterTheirLibrariesAtTheSameTime) {
    constexpr int kTimes = 200;
    const auto comeAndGo = [] {
        int cell = -1;
        ht_register_library(&cell);
        EXPECT_NE(__atomic_load_n(&cell, __ATOMIC_RELAXED), -1);
        ht_deregister_library(&cell);
    };
    support::atTheSameTime(comeAndGo, kTimes, comeAndGo);
    support::atTheSameTime([] { EXPECT_LE(ht_control_registered(nullptr, 0), 2U); }, kTimes,
                           comeAndGo);
    support::atTheSameTime([] { ht_control_set_enabled(1); }, kTimes, comeAndGo);
    EXPECT_EQ(ht_control_registered(nullptr, 0), 1U);
}

}  // namespace
