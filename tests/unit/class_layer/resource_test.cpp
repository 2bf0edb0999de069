// Resources by the example of message loops; the core's functions; instance handles.

#include <thread>
#include <vector>

#include "layer_test.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/completion_callback.h"
#include "ppapi/cpp/core.h"
#include "ppapi/cpp/input_event.h"
#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/cpp/url_loader.h"
#include "ppapi/utility/completion_callback_factory.h"

namespace {

using pp::InstanceHandle;
using pp::MessageLoop;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LoopTest : public LayerTest {
  protected:
    void SetUp() override { m_instance = page(); }

    MessageLoop newLoop() const { return MessageLoop(InstanceHandle(m_instance)); }

    PP_Instance m_instance = 0;
};

using AResource = LoopTest;
using AMessageLoop = LoopTest;
using TheCore = LoopTest;

TEST_F(AResource, IsNullByDefault) {
    const pp::Resource resource;
    EXPECT_TRUE(resource.is_null());
    EXPECT_EQ(resource.pp_resource(), 0);
    const pp::Resource copy(resource);  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_TRUE(copy.is_null());
    EXPECT_THAT(m_host->resourceProblems(), IsEmpty());
}

TEST_F(AResource, OwnsOneReferenceUntilItsEnd) {
    PP_Resource id = 0;
    {
        const MessageLoop loop = newLoop();
        id = loop.pp_resource();
        EXPECT_NE(id, 0);
        EXPECT_FALSE(loop.is_null());
        EXPECT_EQ(references(id), 1);
    }
    EXPECT_EQ(references(id), 0);
}

TEST_F(AResource, AddsAReferencePerCopy) {
    const MessageLoop loop = newLoop();
    {
        const MessageLoop copy(loop);
        const MessageLoop byId(loop.pp_resource());
        const pp::Resource sliced(loop);
        EXPECT_EQ(copy.pp_resource(), loop.pp_resource());
        EXPECT_EQ(byId.pp_resource(), loop.pp_resource());
        EXPECT_EQ(references(loop.pp_resource()), 4);
    }
    EXPECT_EQ(references(loop.pp_resource()), 1);
}

TEST_F(AResource, MayReplaceItself) {
    MessageLoop loop = newLoop();
    const MessageLoop& same = loop;
    loop = same;
    EXPECT_FALSE(loop.is_null());
    EXPECT_EQ(references(loop.pp_resource()), 1);
}

TEST_F(AResource, ReleasesWhatItReplaces) {
    const MessageLoop first = newLoop();
    MessageLoop second = newLoop();
    const PP_Resource replaced = second.pp_resource();
    second = first;
    EXPECT_EQ(references(replaced), 0);
    EXPECT_EQ(references(first.pp_resource()), 2);
    const MessageLoop& same = second;
    second = same;
    EXPECT_EQ(references(first.pp_resource()), 2);
    second = MessageLoop();
    EXPECT_TRUE(second.is_null());
    EXPECT_EQ(references(first.pp_resource()), 1);
}

TEST_F(AResource, OfTheOtherKindsAddsAReferenceToo) {
    const MessageLoop loop = newLoop();
    {
        const pp::URLLoader loader(loop.pp_resource());
        const pp::InputEvent event(loop.pp_resource());
        const pp::View view(loop.pp_resource());
        EXPECT_EQ(references(loop.pp_resource()), 4);
    }
    EXPECT_TRUE(pp::URLLoader().is_null());
    EXPECT_TRUE(pp::InputEvent().is_null());
    EXPECT_TRUE(pp::View().is_null());
}

TEST_F(AMessageLoop, IsNullWithoutALiveInstance) {
    EXPECT_TRUE(MessageLoop().is_null());
    EXPECT_TRUE(MessageLoop(InstanceHandle(PP_Instance{0})).is_null());
    EXPECT_TRUE(MessageLoop(InstanceHandle(m_instance + 1)).is_null());
}

TEST_F(AMessageLoop, ThatIsNullIsABadResource) {
    MessageLoop loop;
    EXPECT_EQ(loop.AttachToCurrentThread(), PP_ERROR_BADRESOURCE);
    EXPECT_EQ(loop.Run(), PP_ERROR_BADRESOURCE);
    const PP_CompletionCallback work = m_work.callback([](std::int32_t) { FAIL(); });
    EXPECT_EQ(loop.PostWork(pp::CompletionCallback(work.func, work.user_data)),
              PP_ERROR_BADRESOURCE);
    EXPECT_EQ(loop.PostQuit(true), PP_ERROR_BADRESOURCE);
}

TEST_F(AMessageLoop, WorksOnItsThreadUntilAQuit) {
    MessageLoop loop = newLoop();
    std::vector<std::int32_t> seen;
    const auto callback = [&](std::int32_t number) {
        const PP_CompletionCallback work = m_work.callback([&seen, number](std::int32_t result) {
            seen.push_back(number);
            EXPECT_EQ(result, PP_OK);
        });
        return pp::CompletionCallback(work.func, work.user_data);
    };
    EXPECT_EQ(loop.PostWork(callback(1)), PP_OK);
    EXPECT_EQ(loop.PostWork(callback(2), 0), PP_OK);
    EXPECT_EQ(loop.PostWork(callback(3), 60000), PP_OK);
    EXPECT_EQ(loop.PostQuit(false), PP_OK);
    std::thread([&] {
        EXPECT_EQ(loop.AttachToCurrentThread(), PP_OK);
        EXPECT_EQ(loop.AttachToCurrentThread(), PP_ERROR_INPROGRESS);
        EXPECT_EQ(loop.Run(), PP_OK);
        EXPECT_EQ(loop.PostWork(callback(4)), PP_OK) << "a quit that does not destroy";
        EXPECT_EQ(loop.PostQuit(true), PP_OK);
        EXPECT_EQ(loop.Run(), PP_OK);
        EXPECT_EQ(loop.PostWork(callback(5)), PP_ERROR_FAILED) << "one that does";
    }).join();
    EXPECT_THAT(seen, ElementsAre(1, 2, 4));
}

TEST_F(AMessageLoop, HandsItsDelayToTheBrowser) {
    MessageLoop loop = newLoop();
    std::vector<int> seen;
    const auto callback = [&](int number) {
        const PP_CompletionCallback work =
            m_work.callback([&seen, number](std::int32_t) { seen.push_back(number); });
        return pp::CompletionCallback(work.func, work.user_data);
    };
    EXPECT_EQ(loop.PostWork(callback(1), 50), PP_OK);
    EXPECT_EQ(loop.PostWork(callback(2)), PP_OK);
    EXPECT_EQ(loop.PostQuit(true), PP_OK);
    std::thread([&] {
        loop.AttachToCurrentThread();
        EXPECT_EQ(loop.Run(), PP_OK);
    }).join();
    EXPECT_THAT(seen, ElementsAre(2));
}

TEST_F(AMessageLoop, RefusesWorkWithoutAFunction) {
    MessageLoop loop = newLoop();
    EXPECT_EQ(loop.PostWork(pp::CompletionCallback()), PP_ERROR_BADARGUMENT);
}

TEST_F(AMessageLoop, OfTheMainThreadIsFoundWithoutALeak) {
    PP_Resource id = 0;
    {
        MessageLoop loop = MessageLoop::GetForMainThread();
        id = loop.pp_resource();
        EXPECT_NE(id, 0);
        EXPECT_EQ(references(id), 1);
        EXPECT_EQ(loop.PostQuit(false), PP_ERROR_WRONG_THREAD);
        onMain([&] { EXPECT_EQ(MessageLoop::GetCurrent().pp_resource(), id); });
        EXPECT_EQ(references(id), 1);
    }
    EXPECT_EQ(references(id), 0);
}

TEST_F(AMessageLoop, OfThisThreadIsFoundWithoutALeak) {
    MessageLoop loop = newLoop();
    std::thread([&] {
        EXPECT_TRUE(MessageLoop::GetCurrent().is_null());
        loop.AttachToCurrentThread();
        EXPECT_EQ(MessageLoop::GetCurrent().pp_resource(), loop.pp_resource());
        EXPECT_EQ(references(loop.pp_resource()), 1);
    }).join();
}

TEST_F(TheCore, CountsResources) {
    const PP_Resource loop = support::loops().Create(m_instance);
    pp::Core* core = pp::Module::Get()->core();
    core->AddRefResource(loop);
    EXPECT_EQ(references(loop), 2);
    core->ReleaseResource(loop);
    core->ReleaseResource(loop);
    EXPECT_EQ(references(loop), 0);
}

TEST_F(TheCore, KnowsTheMainThreadAndCallsThere) {
    pp::Core* core = pp::Module::Get()->core();
    EXPECT_FALSE(core->IsMainThread());
    onMain([&] { EXPECT_TRUE(core->IsMainThread()); });

    std::vector<std::int32_t> results;
    const PP_CompletionCallback work = m_work.callback([&](std::int32_t result) {
        EXPECT_TRUE(core->IsMainThread());
        results.push_back(result);
    });
    const pp::CompletionCallback callback(work.func, work.user_data);
    core->CallOnMainThread(0, callback);
    core->CallOnMainThread(0, callback, -7);
    ASSERT_TRUE(m_host->drain(m_instance));
    EXPECT_THAT(results, ElementsAre(0, -7));
}

TEST_F(TheCore, TellsTheBrowsersTime) {
    pp::Core* core = pp::Module::Get()->core();
    const PP_Time before = support::core().GetTime();
    const PP_Time time = core->GetTime();
    EXPECT_LE(before, time);
    EXPECT_LE(time, support::core().GetTime());
    const PP_TimeTicks ticks = core->GetTimeTicks();
    EXPECT_LE(ticks, core->GetTimeTicks());
}

TEST_F(TheCore, RunsAFactorysCallbackOrNothingAfterItsEnd) {
    struct Target {
        void take(std::int32_t result) { results.push_back(result); }
        std::vector<std::int32_t> results;
    };
    Target target;
    onMain([&] {
        pp::CompletionCallbackFactory<Target> kept(&target);
        pp::CompletionCallbackFactory<Target> cancelled(&target);
        pp::Core* core = pp::Module::Get()->core();
        core->CallOnMainThread(0, kept.NewCallback(&Target::take), 1);
        core->CallOnMainThread(0, cancelled.NewCallback(&Target::take), 2);
        cancelled.CancelAll();
        core->CallOnMainThread(0, cancelled.NewCallback(&Target::take), 3);
        // Both end here, with three callbacks pending.
    });
    ASSERT_TRUE(m_host->drain(m_instance));
    EXPECT_THAT(target.results, IsEmpty());

    pp::CompletionCallbackFactory<Target> factory(&target);
    onMain([&] {
        pp::Module::Get()->core()->CallOnMainThread(0, factory.NewCallback(&Target::take), 4);
    });
    ASSERT_TRUE(m_host->drain(m_instance));
    EXPECT_THAT(target.results, ElementsAre(4));
}

TEST(AnInstanceHandle, HoldsTheInstancesNumber) {
    pp::Instance instance(-1234);
    EXPECT_EQ(InstanceHandle(&instance).pp_instance(), -1234);
    EXPECT_EQ(InstanceHandle(PP_Instance{42}).pp_instance(), 42);
    const InstanceHandle copy = InstanceHandle(&instance);
    EXPECT_EQ(copy.pp_instance(), -1234);
}

TEST(AnInstanceHandle, MadeOfNoInstanceHoldsZero) {
    EXPECT_EQ(InstanceHandle(static_cast<pp::Instance*>(nullptr)).pp_instance(), 0);
}

}  // namespace
