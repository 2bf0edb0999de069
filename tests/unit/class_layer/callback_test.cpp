// Callbacks, their factory, and the lock under them. Nothing here needs a browser.

#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ppapi/cpp/completion_callback.h"
#include "ppapi/utility/completion_callback_factory.h"
#include "ppapi/utility/threading/lock.h"
#include "thread_tools.h"

namespace {

using pp::CompletionCallback;
using pp::CompletionCallbackFactory;

void store(void* user_data, std::int32_t result) {
    *static_cast<std::int32_t*>(user_data) = result;
}

TEST(ACallback, RunsItsFunctionWithItsData) {
    std::int32_t result = 0;
    CompletionCallback callback(&store, &result);
    EXPECT_EQ(callback.pp_completion_callback().func, &store);
    EXPECT_EQ(callback.pp_completion_callback().user_data, &result);
    EXPECT_EQ(callback.pp_completion_callback().flags, PP_COMPLETIONCALLBACK_FLAG_NONE);
    callback.Run(-5);
    EXPECT_EQ(result, -5);
    CompletionCallback copy(callback);
    copy.Run(7);
    EXPECT_EQ(result, 7);
}

TEST(ACallback, WithoutAFunctionIsTheBlockingForm) {
    const CompletionCallback callback;
    EXPECT_EQ(callback.pp_completion_callback().func, nullptr);
    EXPECT_EQ(callback.pp_completion_callback().user_data, nullptr);
    EXPECT_EQ(callback.pp_completion_callback().flags, PP_COMPLETIONCALLBACK_FLAG_NONE);
}

/// Collects results, and may destroy its factory from inside a callback.
class Target {
  public:
    void take(std::int32_t result) { m_results.push_back(result); }
    void takeAndEnd(std::int32_t result) {
        m_factory.reset();
        m_results.push_back(result);
    }
    void takeAndCancel(std::int32_t result) {
        m_factory->CancelAll();
        m_results.push_back(result);
    }

    std::vector<std::int32_t> m_results;
    std::unique_ptr<CompletionCallbackFactory<Target>> m_factory =
        std::make_unique<CompletionCallbackFactory<Target>>(this);
};

TEST(AFactory, KnowsItsObject) {
    Target target;
    EXPECT_EQ(target.m_factory->GetObject(), &target);
    CompletionCallbackFactory<Target> none;
    EXPECT_EQ(none.GetObject(), nullptr);
}

TEST(AFactory, MakesCallbacksToItsObjectsMethods) {
    Target target;
    CompletionCallback first = target.m_factory->NewCallback(&Target::take);
    CompletionCallback second = target.m_factory->NewCallback(&Target::take);
    second.Run(2);
    first.Run(1);
    EXPECT_EQ(target.m_results, (std::vector<std::int32_t>{2, 1}));
}

TEST(AFactory, MakesItsCallbacksNoOpsWhenItCancels) {
    Target target;
    CompletionCallback before = target.m_factory->NewCallback(&Target::take);
    target.m_factory->CancelAll();
    CompletionCallback after = target.m_factory->NewCallback(&Target::take);
    before.Run(1);
    after.Run(2);
    EXPECT_EQ(target.m_results, (std::vector<std::int32_t>{2})) << "later ones work again";
    target.m_factory->CancelAll();
    target.m_factory->CancelAll();
}

TEST(AFactory, MakesItsCallbacksNoOpsWhenItEnds) {
    Target target;
    CompletionCallback first = target.m_factory->NewCallback(&Target::take);
    CompletionCallback second = target.m_factory->NewCallback(&Target::take);
    target.m_factory.reset();
    first.Run(1);
    second.Run(2);
    EXPECT_TRUE(target.m_results.empty());
}

TEST(AFactory, MayEndWithItsObjectBeforeACallbackRuns) {
    auto target = std::make_unique<Target>();
    CompletionCallback callback = target->m_factory->NewCallback(&Target::take);
    target.reset();
    callback.Run(1);
    SUCCEED() << "the address sanitizer would tell of a touched object";
}

TEST(AFactory, MayEndInsideItsOwnCallback) {
    Target target;
    CompletionCallback callback = target.m_factory->NewCallback(&Target::takeAndEnd);
    CompletionCallback other = target.m_factory->NewCallback(&Target::take);
    callback.Run(1);
    other.Run(2);
    EXPECT_EQ(target.m_results, (std::vector<std::int32_t>{1}));
    EXPECT_EQ(target.m_factory, nullptr);
}

TEST(AFactory, MayCancelInsideItsOwnCallback) {
    Target target;
    CompletionCallback callback = target.m_factory->NewCallback(&Target::takeAndCancel);
    CompletionCallback other = target.m_factory->NewCallback(&Target::take);
    callback.Run(1);
    other.Run(2);
    target.m_factory->NewCallback(&Target::take).Run(3);
    EXPECT_EQ(target.m_results, (std::vector<std::int32_t>{1, 3}));
}

TEST(AFactory, MakesCallbacksOnSeveralThreads) {
    Target target;
    std::vector<std::vector<CompletionCallback>> made(4);
    support::onThreads(4, [&](int thread) {
        for (int i = 0; i < 500; ++i) {
            made[static_cast<std::size_t>(thread)].push_back(
                target.m_factory->NewCallback(&Target::take));
        }
    });
    for (auto& callbacks : made) {
        for (CompletionCallback& callback : callbacks) callback.Run(1);
    }
    EXPECT_EQ(target.m_results, std::vector<std::int32_t>(2000, 1));
}

TEST(AFactory, WithoutAnObjectStopsADebugBuild) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEBUG_DEATH(
        {
            CompletionCallbackFactory<Target> none;
            none.NewCallback(&Target::take).Run(1);
        },
        "object_");
}

using RefCount = pp::ThreadSafeThreadTraits::RefCount;

TEST(ARefCount, StartsAtZeroAndGivesTheNewCount) {
    RefCount count;
    EXPECT_EQ(count.AddRef(), 1);
    EXPECT_EQ(count.AddRef(), 2);
    EXPECT_EQ(count.Release(), 1);
    EXPECT_EQ(count.Release(), 0);
    EXPECT_EQ(count.AddRef(), 1);
}

TEST(ARefCount, ReleasedTooOftenStopsTheProcessInEveryBuild) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(RefCount().Release(), "ref_ > 0");
    EXPECT_DEATH(
        {
            RefCount count;
            count.AddRef();
            count.Release();
            count.Release();
        },
        "ref_ > 0");
}

TEST(ARefCount, IsExactOnSeveralThreads) {
    RefCount count;
    support::onThreads(4, [&](int) {
        for (int j = 0; j < 2000; ++j) {
            count.AddRef();
            count.AddRef();
            count.Release();
        }
    });
    EXPECT_EQ(count.AddRef(), 8001);
}

TEST(ALock, LetsOneThreadInAtATime) {
    pp::Lock lock;
    int counter = 0;
    support::onThreads(4, [&](int i) {
        for (int j = 0; j < 2000; ++j) {
            if (i % 2 == 0) {
                const pp::AutoLock held(lock);
                ++counter;
            } else {
                lock.Acquire();
                ++counter;
                lock.Release();
            }
        }
    });
    EXPECT_EQ(counter, 8000);
}

TEST(ALock, IsFreeAgainBehindTheScopeThatHeldIt) {
    pp::Lock lock;
    { const pp::AutoLock held(lock); }
    lock.Acquire();
    lock.Release();
    bool entered = false;
    std::thread([&] {
        const pp::AutoLock held(lock);
        entered = true;
    }).join();
    EXPECT_TRUE(entered);
}

}  // namespace
