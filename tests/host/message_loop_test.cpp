#include <cstdint>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "host_test.h"
#include "thread_tools.h"

namespace {

using support::core;
using support::loops;
using support::LoopThread;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class LoopTest : public HostTest {
  protected:
    void SetUp() override {
        m_instance = page();
        m_loop = loops().Create(m_instance);
    }
    void TearDown() override {
        core().ReleaseResource(m_loop);
        EXPECT_THAT(m_host->liveResources(), IsEmpty());
        HostTest::TearDown();
    }

    /// Runs a function on a new thread, to its end.
    static void onThread(const std::function<void()>& function) { std::thread(function).join(); }

    std::function<void()> logs(const std::string& event) {
        return [this, event] { m_log.add(event); };
    }

    /// An id that was a loop's.
    PP_Resource deadLoop() const {
        const PP_Resource loop = loops().Create(m_instance);
        core().ReleaseResource(loop);
        return loop;
    }

    support::EventLog m_log;
    PP_Instance m_instance = 0;
    PP_Resource m_loop = 0;
};

using ALoop = LoopTest;
using AnUnattachedLoop = LoopTest;
using ARunningLoop = LoopTest;
using ADestroyedLoop = LoopTest;
using TheMainLoop = LoopTest;
using AThread = LoopTest;

TEST_F(ALoop, IsMadeForALiveInstanceAlone) {
    EXPECT_NE(m_loop, 0);
    EXPECT_EQ(loops().Create(0), 0);
    EXPECT_EQ(loops().Create(m_instance + 1), 0);
    const PP_Instance other = m_host->embed();
    m_host->destroy(other);
    EXPECT_EQ(loops().Create(other), 0);
}

TEST_F(ALoop, CanBeMadeInsideDidDestroy) {
    PP_Resource made = 0;
    m_module.didDestroy = [&](PP_Instance instance) {
        made = loops().Create(instance);
        core().ReleaseResource(made);
    };
    m_host->destroy(m_host->embed());
    EXPECT_NE(made, 0);
    m_module.didDestroy = nullptr;
}

TEST_F(ALoop, WithABadResourceIsRefused) {
    const PP_Resource dead = deadLoop();
    PP_Resource view = 0;
    std::vector<std::int32_t> results;
    const auto use = [&](PP_Resource loop) {
        results.push_back(loops().AttachToCurrentThread(loop));
        results.push_back(loops().Run(loop));
        results.push_back(m_work.post(loop, logs("never")));
        results.push_back(loops().PostQuit(loop, PP_TRUE));
    };
    m_module.didChangeView = [&](PP_Instance, PP_Resource resource) {
        view = resource;
        use(view);
    };
    m_host->drain(m_host->embed());
    m_module.didChangeView = nullptr;
    ASSERT_NE(view, 0);
    onThread([&] {
        for (const PP_Resource bad : {0, dead, view, 4711}) use(bad);
    });
    EXPECT_EQ(results, std::vector<std::int32_t>(20, PP_ERROR_BADRESOURCE));
    EXPECT_THAT(m_log.all(), IsEmpty());
}

TEST_F(AThread, GetsOneLoopInItsLife) {
    const PP_Resource other = loops().Create(m_instance);
    onThread([&] {
        EXPECT_EQ(loops().AttachToCurrentThread(m_loop), PP_OK);
        EXPECT_EQ(loops().AttachToCurrentThread(m_loop), PP_ERROR_INPROGRESS);
        EXPECT_EQ(loops().AttachToCurrentThread(other), PP_ERROR_INPROGRESS);
    });
    core().ReleaseResource(other);
}

TEST_F(ALoop, GetsOneThreadInItsLife) {
    const LoopThread thread(m_instance);
    onThread([&] {
        EXPECT_EQ(loops().AttachToCurrentThread(thread.loop()), PP_ERROR_INPROGRESS);
        EXPECT_EQ(loops().AttachToCurrentThread(m_loop), PP_OK) << "the thread is still free";
    });
    onThread([&] { EXPECT_EQ(loops().AttachToCurrentThread(m_loop), PP_ERROR_INPROGRESS); });
}

TEST_F(AThread, KnowsItsLoop) {
    onThread([&] {
        EXPECT_EQ(loops().GetCurrent(), 0);
        loops().AttachToCurrentThread(m_loop);
        EXPECT_EQ(loops().GetCurrent(), m_loop);
        EXPECT_EQ(m_host->liveResources().front().references, 2) << "one reference for the caller";
        core().ReleaseResource(m_loop);
    });
}

TEST_F(TheMainLoop, IsTheMainThreadsFromTheStart) {
    const PP_Resource main = loops().GetForMainThread();
    EXPECT_NE(main, 0);
    EXPECT_NE(main, m_loop);
    m_host->runOnMain([&] {
        EXPECT_EQ(loops().GetCurrent(), main);
        EXPECT_EQ(loops().AttachToCurrentThread(m_loop), PP_ERROR_INPROGRESS);
        EXPECT_EQ(loops().AttachToCurrentThread(main), PP_ERROR_INPROGRESS);
        EXPECT_EQ(loops().Run(main), PP_ERROR_INPROGRESS);
    });
    ASSERT_THAT(m_host->liveResources(), SizeIs(2));
    EXPECT_EQ(m_host->liveResources().front().kind, "main message loop");
    EXPECT_EQ(m_host->liveResources().front().instance, 0);
    EXPECT_EQ(m_host->liveResources().front().references, 2);
    core().ReleaseResource(main);
    core().ReleaseResource(main);
}

TEST_F(TheMainLoop, IsNobodyElses) {
    const PP_Resource main = loops().GetForMainThread();
    onThread([&] {
        EXPECT_EQ(loops().AttachToCurrentThread(main), PP_ERROR_INPROGRESS);
        EXPECT_EQ(loops().Run(main), PP_ERROR_INPROGRESS);
        EXPECT_EQ(loops().PostQuit(main, PP_FALSE), PP_ERROR_WRONG_THREAD);
        EXPECT_EQ(loops().GetCurrent(), 0);
    });
    m_host->runOnMain([&] { EXPECT_EQ(loops().PostQuit(main, PP_TRUE), PP_ERROR_WRONG_THREAD); });
    core().ReleaseResource(main);
}

TEST_F(TheMainLoop, TakesWorkFromAnyThread) {
    const PP_Resource main = loops().GetForMainThread();
    bool onMain = false;
    onThread([&] {
        EXPECT_EQ(m_work.post(main, [&] { onMain = PP_ToBool(core().IsMainThread()); }), PP_OK);
    });
    ASSERT_TRUE(m_host->drain(m_instance));
    EXPECT_TRUE(onMain);
    core().ReleaseResource(main);
}

TEST_F(AnUnattachedLoop, CannotRun) {
    onThread([&] { EXPECT_EQ(loops().Run(m_loop), PP_ERROR_WRONG_THREAD); });
    m_host->runOnMain([&] { EXPECT_EQ(loops().Run(m_loop), PP_ERROR_WRONG_THREAD); });
}

TEST_F(AnUnattachedLoop, KeepsWorkInOrderUntilItRuns) {
    for (const char* event : {"first", "second", "third"}) {
        EXPECT_EQ(m_work.post(m_loop, logs(event)), PP_OK);
    }
    EXPECT_EQ(loops().PostQuit(m_loop, PP_FALSE), PP_OK);
    onThread([&] {
        loops().AttachToCurrentThread(m_loop);
        EXPECT_THAT(m_log.all(), IsEmpty()) << "attaching does not run";
        EXPECT_EQ(loops().Run(m_loop), PP_OK);
    });
    EXPECT_THAT(m_log.all(), ElementsAre("first", "second", "third"));
}

TEST_F(AnUnattachedLoop, IsNotDestroyedByAQuit) {
    EXPECT_EQ(loops().PostQuit(m_loop, PP_TRUE), PP_OK);
    EXPECT_EQ(m_work.post(m_loop, logs("ran")), PP_OK);
    onThread([&] {
        EXPECT_EQ(loops().AttachToCurrentThread(m_loop), PP_OK);
        EXPECT_EQ(loops().Run(m_loop), PP_OK);
    });
    EXPECT_THAT(m_log.all(), ElementsAre("ran"));
}

TEST_F(AnUnattachedLoop, DropsItsWorkUncalledWhenItDies) {
    const PP_Resource loop = loops().Create(m_instance);
    EXPECT_EQ(m_work.post(loop, logs("never")), PP_OK);
    core().ReleaseResource(loop);
    EXPECT_EQ(m_work.post(loop, logs("never")), PP_ERROR_BADRESOURCE);
    EXPECT_THAT(m_log.all(), IsEmpty());
}

// The one delay that is long: the attach takes longer than it.
using ADelay = HostTest;

TEST_F(ADelay, CountsFromTheAttach) {
    host::PluginHost::Options options;
    options.attachDelay = std::chrono::milliseconds(1100);
    const PP_Instance instance = page(std::move(options));
    const PP_Resource loop = loops().Create(instance);
    bool ran = false;
    EXPECT_EQ(m_work.post(
                  loop, [&] { ran = true; }, 1000),
              PP_OK);
    EXPECT_EQ(loops().PostQuit(loop, PP_TRUE), PP_OK);
    std::thread([&] {
        EXPECT_EQ(loops().AttachToCurrentThread(loop), PP_OK);
        EXPECT_EQ(loops().Run(loop), PP_OK);
    }).join();
    EXPECT_FALSE(ran);
    core().ReleaseResource(loop);
}

TEST_F(ARunningLoop, WorksOnItsThreadInOrderWithResultZero) {
    LoopThread thread(m_instance);
    std::vector<std::int32_t> results;
    std::thread::id id;
    const PP_CompletionCallback callback = m_work.callback([&](std::int32_t result) {
        results.push_back(result);
        id = std::this_thread::get_id();
    });
    EXPECT_EQ(loops().PostWork(thread.loop(), callback, 0), PP_OK);
    EXPECT_EQ(loops().PostWork(thread.loop(), callback, -1000), PP_OK);
    const std::thread::id expected = thread.id();
    EXPECT_EQ(thread.stop(), PP_OK);
    EXPECT_THAT(results, ElementsAre(PP_OK, PP_OK));
    EXPECT_EQ(id, expected);
}

TEST_F(ARunningLoop, RefusesWorkWithoutAFunction) {
    const LoopThread thread(m_instance);
    EXPECT_EQ(loops().PostWork(thread.loop(), PP_BlockUntilComplete(), 0), PP_ERROR_BADARGUMENT);
}

TEST_F(ARunningLoop, DoesNegativeDelaysInOrderWithTheOthers) {
    LoopThread thread(m_instance);
    m_work.post(thread.loop(), [&] {
        m_work.post(thread.loop(), logs("first"), 0);
        m_work.post(thread.loop(), logs("second"), -5);
        m_work.post(thread.loop(), logs("third"), std::numeric_limits<std::int64_t>::min());
        m_work.post(thread.loop(), logs("fourth"), 0);
    });
    thread.stop();
    EXPECT_THAT(m_log.all(), ElementsAre("first", "second", "third", "fourth"));
}

TEST_F(ARunningLoop, DoesDelayedWorkByDueTime) {
    const LoopThread thread(m_instance);
    m_work.post(thread.loop(), [&] {
        m_work.post(thread.loop(), logs("late"), 400);
        m_work.post(thread.loop(), logs("soon"), 100);
        m_work.post(thread.loop(), logs("now"));
    });
    ASSERT_TRUE(m_log.waitFor("late"));
    EXPECT_THAT(m_log.all(), ElementsAre("now", "soon", "late"));
}

TEST_F(ARunningLoop, SurvivesADelayOfAges) {
    LoopThread thread(m_instance);
    EXPECT_EQ(m_work.post(thread.loop(), logs("never"), std::numeric_limits<std::int64_t>::max()),
              PP_OK);
    EXPECT_EQ(m_work.post(thread.loop(), logs("now")), PP_OK);
    ASSERT_TRUE(m_log.waitFor("now"));
    EXPECT_EQ(thread.stop(), PP_OK);
    EXPECT_THAT(m_log.all(), ElementsAre("now"));
}

TEST_F(ARunningLoop, EndsOnlyWhenAllDueWorkIsDone) {
    LoopThread thread(m_instance);
    m_work.post(thread.loop(), [&] {
        EXPECT_EQ(loops().PostQuit(thread.loop(), PP_TRUE), PP_OK);
        m_work.post(thread.loop(), [&] {
            m_log.add("after the quit");
            EXPECT_EQ(m_work.post(thread.loop(), logs("from within that")), PP_OK);
        });
        m_work.post(thread.loop(), logs("not waited for"), 60000);
    });
    EXPECT_EQ(thread.stop(), PP_OK);
    EXPECT_THAT(m_log.all(), ElementsAre("after the quit", "from within that"));
}

TEST_F(ARunningLoop, CannotBeRunInsideItself) {
    LoopThread thread(m_instance);
    std::int32_t nested = 1;
    m_work.post(thread.loop(), [&] { nested = loops().Run(thread.loop()); });
    EXPECT_EQ(thread.stop(), PP_OK);
    EXPECT_EQ(nested, PP_ERROR_INPROGRESS);
}

TEST_F(ARunningLoop, CannotBeRunByAnotherThread) {
    const LoopThread thread(m_instance);
    EXPECT_EQ(loops().Run(thread.loop()), PP_ERROR_WRONG_THREAD);
    onThread([&] {
        loops().AttachToCurrentThread(m_loop);
        EXPECT_EQ(loops().Run(thread.loop()), PP_ERROR_WRONG_THREAD);
    });
}

TEST_F(ARunningLoop, CanBeQuitAndRunAgain) {
    onThread([&] {
        loops().AttachToCurrentThread(m_loop);
        m_work.post(m_loop, logs("delayed"), 50);
        m_work.post(m_loop, logs("first"));
        loops().PostQuit(m_loop, PP_FALSE);
        EXPECT_EQ(loops().Run(m_loop), PP_OK);
        EXPECT_THAT(m_log.all(), ElementsAre("first"));

        EXPECT_EQ(m_work.post(m_loop, logs("second")), PP_OK) << "it is not destroyed";
        m_work.post(
            m_loop, [&] { loops().PostQuit(m_loop, PP_FALSE); }, 100);
        EXPECT_EQ(loops().Run(m_loop), PP_OK);
        EXPECT_THAT(m_log.all(), ElementsAre("first", "second", "delayed"));
    });
}

TEST_F(ARunningLoop, TakesWorkUntilTheQuitThatDestroysItTakesEffect) {
    onThread([&] {
        loops().AttachToCurrentThread(m_loop);
        m_work.post(m_loop, [&] {
            loops().PostQuit(m_loop, PP_TRUE);
            EXPECT_EQ(m_work.post(m_loop, logs("still")), PP_OK);
        });
        EXPECT_EQ(loops().Run(m_loop), PP_OK);
        EXPECT_EQ(m_work.post(m_loop, logs("no more")), PP_ERROR_FAILED);
    });
    EXPECT_THAT(m_log.all(), ElementsAre("still"));
}

TEST_F(ARunningLoop, IsDestroyedWhenOneOfItsQuitsSaysSo) {
    onThread([&] {
        loops().AttachToCurrentThread(m_loop);
        loops().PostQuit(m_loop, PP_TRUE);
        loops().PostQuit(m_loop, PP_FALSE);
        EXPECT_EQ(loops().Run(m_loop), PP_OK);
        EXPECT_EQ(m_work.post(m_loop, logs("refused")), PP_ERROR_FAILED);
    });
    EXPECT_THAT(m_log.all(), IsEmpty());
}

TEST_F(ADestroyedLoop, TakesNoWorkAndIsStillTheThreadsLoop) {
    const PP_Resource other = loops().Create(m_instance);
    onThread([&] {
        loops().AttachToCurrentThread(m_loop);
        m_work.post(m_loop, logs("dropped"), 60000);
        loops().PostQuit(m_loop, PP_TRUE);
        EXPECT_EQ(loops().Run(m_loop), PP_OK);

        EXPECT_EQ(m_work.post(m_loop, logs("refused")), PP_ERROR_FAILED);
        EXPECT_EQ(loops().PostQuit(m_loop, PP_TRUE), PP_OK);
        EXPECT_EQ(loops().AttachToCurrentThread(m_loop), PP_ERROR_INPROGRESS);
        EXPECT_EQ(loops().AttachToCurrentThread(other), PP_ERROR_INPROGRESS);
        EXPECT_EQ(loops().GetCurrent(), m_loop);
        core().ReleaseResource(m_loop);
        EXPECT_EQ(loops().Run(m_loop), PP_ERROR_FAILED);
    });
    EXPECT_THAT(m_log.all(), IsEmpty());
    core().ReleaseResource(other);
}

TEST_F(AThread, ThatEndsDropsItsLoopsWorkUncalled) {
    onThread([&] {
        loops().AttachToCurrentThread(m_loop);
        EXPECT_EQ(m_work.post(m_loop, logs("never")), PP_OK);
    });
    EXPECT_THAT(m_log.all(), IsEmpty());
    EXPECT_EQ(m_work.post(m_loop, logs("refused")), PP_ERROR_FAILED);
}

TEST_F(AThread, KeepsItsLoopAliveWhateverTheModuleReleases) {
    const PP_Resource loop = loops().Create(m_instance);
    onThread([&] {
        loops().AttachToCurrentThread(loop);
        core().ReleaseResource(loop);
        EXPECT_EQ(m_work.post(loop, logs("ran")), PP_OK);
        EXPECT_EQ(loops().PostQuit(loop, PP_TRUE), PP_OK);
        EXPECT_EQ(loops().Run(loop), PP_OK);
    });
    EXPECT_THAT(m_log.all(), ElementsAre("ran"));
    EXPECT_EQ(loops().PostQuit(loop, PP_TRUE), PP_ERROR_BADRESOURCE) << "gone with the thread";
}

TEST_F(ALoop, OfADeadInstanceWorksOnIfItHasAThread) {
    const PP_Instance other = m_host->embed();
    LoopThread attached(other);
    const PP_Resource unattached = loops().Create(other);
    m_host->destroy(other);
    EXPECT_EQ(m_work.post(attached.loop(), logs("ran")), PP_OK);
    EXPECT_EQ(m_work.post(unattached, logs("never")), PP_ERROR_BADRESOURCE);
    onThread([&] { EXPECT_EQ(loops().AttachToCurrentThread(unattached), PP_ERROR_BADRESOURCE); });
    EXPECT_EQ(attached.stop(), PP_OK);
    EXPECT_THAT(m_log.all(), ElementsAre("ran"));
    core().ReleaseResource(unattached);
}

TEST_F(ARunningLoop, KeepsTheOrderOfEachThreadsWork) {
    constexpr int kThreads = 4;
    constexpr int kTasks = 500;
    std::vector<std::vector<int>> seen(kThreads);
    LoopThread thread(m_instance);
    support::onThreads(kThreads, [&](int i) {
        for (int j = 0; j < kTasks; ++j) {
            m_work.post(thread.loop(),
                        [&seen, i, j] { seen[static_cast<std::size_t>(i)].push_back(j); });
        }
    });
    thread.stop();
    std::vector<int> expected;
    for (int j = 0; j < kTasks; ++j) expected.push_back(j);
    EXPECT_EQ(seen, std::vector<std::vector<int>>(kThreads, expected));
}

}  // namespace
