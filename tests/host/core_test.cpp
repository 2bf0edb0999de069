#include <chrono>
#include <limits>
#include <thread>
#include <vector>

#include "host_test.h"

namespace {

using support::core;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using TheCore = HostTest;

TEST_F(TheCore, KnowsTheMainThread) {
    load();
    EXPECT_EQ(core().IsMainThread(), PP_FALSE);
    m_host->runOnMain([] { EXPECT_EQ(core().IsMainThread(), PP_TRUE); });
    m_host->unload();
    EXPECT_EQ(core().IsMainThread(), PP_FALSE);
}

TEST_F(TheCore, CallsOnTheMainThreadFromAnyThread) {
    load();
    std::vector<std::int32_t> results;
    const PP_CompletionCallback callback = m_work.callback([&](std::int32_t result) {
        EXPECT_EQ(core().IsMainThread(), PP_TRUE);
        results.push_back(result);
    });
    std::thread([&] { core().CallOnMainThread(0, callback, -42); }).join();
    core().CallOnMainThread(-1000, callback, std::numeric_limits<std::int32_t>::max());
    ASSERT_TRUE(m_host->drain(0));
    EXPECT_THAT(results, ElementsAre(-42, std::numeric_limits<std::int32_t>::max()));
}

TEST_F(TheCore, CallsOnTheMainThreadOnlyAfterReturning) {
    load();
    support::EventLog log;
    m_host->runOnMain([&] {
        core().CallOnMainThread(0, m_work.callback([&](std::int32_t) { log.add("called"); }), 0);
        log.add("returned");
    });
    ASSERT_TRUE(m_host->drain(0));
    EXPECT_THAT(log.all(), ElementsAre("returned", "called"));
}

TEST_F(TheCore, CallsOnTheMainThreadByDueTime) {
    load();
    support::EventLog log;
    m_host->runOnMain([&] {
        core().CallOnMainThread(400, m_work.callback([&](std::int32_t) { log.add("late"); }), 0);
        core().CallOnMainThread(100, m_work.callback([&](std::int32_t) { log.add("soon"); }), 0);
        core().CallOnMainThread(0, m_work.callback([&](std::int32_t) { log.add("now"); }), 0);
    });
    ASSERT_TRUE(log.waitFor("late"));
    EXPECT_THAT(log.all(), ElementsAre("now", "soon", "late"));
}

TEST_F(TheCore, IgnoresACallWithoutAFunction) {
    load();
    core().CallOnMainThread(0, PP_BlockUntilComplete(), 1);
    EXPECT_TRUE(m_host->drain(0));
}

TEST_F(TheCore, DropsCallsThatAreNotDueWhenTheModuleIsUnloaded) {
    load();
    support::EventLog log;
    m_host->runOnMain([&] {
        core().CallOnMainThread(60000, m_work.callback([&](std::int32_t) { log.add("late"); }), 0);
        core().CallOnMainThread(0, m_work.callback([&](std::int32_t) { log.add("due"); }), 0);
    });
    m_host->unload();
    core().CallOnMainThread(0, m_work.callback([&](std::int32_t) { log.add("after"); }), 0);
    EXPECT_THAT(log.all(), ElementsAre("due"));
}

TEST_F(TheCore, TellsTheTimeOfTheWallClock) {
    const auto now = [] {
        return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    };
    const double before = now();
    const PP_Time time = core().GetTime();
    const double after = now();
    EXPECT_LE(before, time);
    EXPECT_LE(time, after);
}

TEST_F(TheCore, CountsTicksThatNeverGoBack) {
    PP_TimeTicks last = core().GetTimeTicks();
    for (int i = 0; i < 1000; ++i) {
        const PP_TimeTicks next = core().GetTimeTicks();
        EXPECT_LE(last, next);
        last = next;
    }
}

TEST_F(TheCore, IgnoresResourcesThatAreNotThere) {
    load();
    core().AddRefResource(0);
    core().ReleaseResource(0);
    core().AddRefResource(4711);
    EXPECT_THAT(m_host->liveResources(), IsEmpty());
}

}  // namespace
