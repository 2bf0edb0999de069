// Threads with a message loop: the class layer's, and the runtime's that waits for its loop.

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

#include "layer_test.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/completion_callback.h"
#include "ppapi/cpp/message_handler.h"
#include "ppapi/utility/threading/simple_thread.h"
#include "runtime/simple_thread_await_loop.h"

namespace {

using pp::InstanceHandle;
using pp::MessageLoop;
using pp::SimpleThread;
using pp::SimpleThreadAwaitLoop;
using support::Signal;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AnsweringHandler : public pp::MessageHandler {
  public:
    void HandleMessage(InstanceHandle, const pp::Var&) override {}
    pp::Var HandleBlockingMessage(InstanceHandle, const pp::Var&) override { return pp::Var(42); }
    void WasUnregistered(InstanceHandle) override {}
};

class ThreadTest : public LayerTest {
  protected:
    void SetUp() override { m_instance = page(); }

    InstanceHandle handle() const { return InstanceHandle(m_instance); }

    /// Posts a function to a loop.
    std::int32_t post(MessageLoop& loop, const std::function<void()>& function,
                      std::int64_t delay = 0) {
        const PP_CompletionCallback work =
            m_work.callback([function](std::int32_t) { function(); });
        return loop.PostWork(pp::CompletionCallback(work.func, work.user_data), delay);
    }

    std::function<void()> logs(const std::string& event) {
        return [this, event] { m_log.add(event); };
    }

    PP_Instance m_instance = 0;
    support::EventLog m_log;
};

using AThread = ThreadTest;

TEST_F(AThread, HasItsLoopFromTheStart) {
    SimpleThread thread(handle());
    EXPECT_FALSE(thread.message_loop().is_null());
    EXPECT_EQ(references(thread.message_loop().pp_resource()), 1);
    EXPECT_EQ(thread.thread(), 0U);
    SimpleThread none(InstanceHandle(PP_Instance{0}));
    EXPECT_TRUE(none.message_loop().is_null());
}

TEST_F(AThread, RunsItsLoopUntilItIsJoined) {
    SimpleThread thread(handle());
    std::thread::id id;
    EXPECT_EQ(post(thread.message_loop(), logs("before the start")), PP_OK);
    EXPECT_TRUE(thread.Start());
    EXPECT_NE(thread.thread(), 0U);
    EXPECT_EQ(post(thread.message_loop(), logs("after it")), PP_OK);
    EXPECT_EQ(post(thread.message_loop(), [&] { id = std::this_thread::get_id(); }), PP_OK);
    EXPECT_EQ(post(thread.message_loop(), logs("not due"), 60000), PP_OK);
    EXPECT_TRUE(thread.Join());
    EXPECT_EQ(thread.thread(), 0U);
    EXPECT_THAT(m_log.all(), ElementsAre("before the start", "after it"));
    EXPECT_NE(id, std::this_thread::get_id());
    EXPECT_EQ(references(thread.message_loop().pp_resource()), 1) << "the thread gave its own back";
}

TEST_F(AThread, IsStartedOnce) {
    SimpleThread thread(handle());
    EXPECT_TRUE(thread.Start());
    EXPECT_FALSE(thread.Start());
    EXPECT_FALSE(thread.StartWithFunction([](MessageLoop&, void*) { FAIL(); }, nullptr));
    EXPECT_TRUE(thread.Join());
}

TEST_F(AThread, IsJoinedOnce) {
    SimpleThread thread(handle());
    EXPECT_FALSE(thread.Join()) << "nothing was started";
    EXPECT_TRUE(thread.Start());
    EXPECT_TRUE(thread.Join());
    EXPECT_FALSE(thread.Join());
}

TEST_F(AThread, IsGoodForOneRun) {
    SimpleThread thread(handle());
    EXPECT_TRUE(thread.Start());
    EXPECT_TRUE(thread.Join());
    EXPECT_EQ(post(thread.message_loop(), logs("never")), PP_ERROR_FAILED);
    EXPECT_THAT(m_log.all(), IsEmpty());
}

TEST_F(AThread, IsJoinedAtItsEnd) {
    {
        SimpleThread thread(handle());
        post(thread.message_loop(), logs("done"));
        thread.Start();
    }
    EXPECT_THAT(m_log.all(), ElementsAre("done"));
}

TEST_F(AThread, MayRunAFunctionInsteadOfItsLoop) {
    struct Seen {
        PP_Resource loop = 0;
        PP_Resource current = 0;
        std::int32_t secondAttach = 0;
        bool otherThread = false;
        std::thread::id starter = std::this_thread::get_id();
    };
    Seen seen;
    SimpleThread thread(handle());
    EXPECT_EQ(post(thread.message_loop(), logs("never")), PP_OK);
    EXPECT_TRUE(thread.StartWithFunction(
        [](MessageLoop& loop, void* data) {
            auto& result = *static_cast<Seen*>(data);
            result.loop = loop.pp_resource();
            result.current = MessageLoop::GetCurrent().pp_resource();
            result.secondAttach = loop.AttachToCurrentThread();
            result.otherThread = std::this_thread::get_id() != result.starter;
        },
        &seen));
    EXPECT_TRUE(thread.Join());
    EXPECT_EQ(seen.loop, thread.message_loop().pp_resource());
    EXPECT_EQ(seen.current, seen.loop);
    EXPECT_EQ(seen.secondAttach, PP_ERROR_INPROGRESS) << "it was attached already";
    EXPECT_TRUE(seen.otherThread);
    EXPECT_THAT(m_log.all(), IsEmpty()) << "the loop is not run by itself";
}

TEST_F(AThread, OfNoInstanceStartsAndEnds) {
    SimpleThread thread(InstanceHandle(PP_Instance{0}));
    EXPECT_TRUE(thread.Start());
    EXPECT_TRUE(thread.Join());
}

using ASlowThread = LayerTest;

// The twin of the test below: without waiting, the same steps lose the handler.
TEST_F(ASlowThread, IsNotReadyForAHandlerWhenStartReturns) {
    Signal mayAttach;
    host::PluginHost::Options options;
    options.onCall = [&](const std::string& what) {
        if (what == "AttachToCurrentThread") {
            EXPECT_TRUE(mayAttach.wait());
        }
    };
    const PP_Instance instance = page(std::move(options));
    AnsweringHandler handler;
    SimpleThread thread{InstanceHandle(instance)};
    EXPECT_TRUE(thread.Start());
    EXPECT_EQ(pp::Instance(instance).RegisterMessageHandler(&handler, thread.message_loop()),
              PP_OK);
    EXPECT_FALSE(m_host->registrations().back().loopAttached);
    EXPECT_EQ(m_host->call(instance, 1).status, host::CallResult::Status::NotHandled);
    mayAttach.give();
    EXPECT_TRUE(thread.Join());
}

using AnAwaitingThread = LayerTest;

TEST_F(AnAwaitingThread, IsReadyForAHandlerWheneverStartReturns) {
    host::PluginHost::Options options;
    options.attachDelay = std::chrono::milliseconds(5);
    const PP_Instance instance = page(std::move(options));
    AnsweringHandler handler;
    for (int round = 0; round < 100; ++round) {
        SimpleThreadAwaitLoop thread{InstanceHandle(instance)};
        ASSERT_TRUE(thread.Start());
        ASSERT_EQ(pp::Instance(instance).RegisterMessageHandler(&handler, thread.message_loop()),
                  PP_OK);
        ASSERT_TRUE(m_host->registrations().back().loopAttached);
        ASSERT_EQ(m_host->call(instance, 1).value, Value(42));
        pp::Instance(instance).UnregisterMessageHandler();
    }
}

TEST_F(AnAwaitingThread, IsReadyForAHandlerAlsoWhenASignalInterruptsTheWait) {
    host::PluginHost::Options options;
    options.attachDelay = std::chrono::milliseconds(200);
    const PP_Instance instance = page(std::move(options));
    AnsweringHandler handler;
    struct sigaction interrupting {};
    interrupting.sa_handler = [](int) {};  // without SA_RESTART: what waits is interrupted
    struct sigaction former {};
    ASSERT_EQ(sigaction(SIGUSR1, &interrupting, &former), 0);
    std::atomic<bool> isStarted = false;
    std::thread other([&, waiting = pthread_self()] {
        while (!isStarted) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            pthread_kill(waiting, SIGUSR1);
        }
    });
    SimpleThreadAwaitLoop thread{InstanceHandle(instance)};
    EXPECT_TRUE(thread.Start());
    EXPECT_EQ(pp::Instance(instance).RegisterMessageHandler(&handler, thread.message_loop()),
              PP_OK);
    isStarted = true;
    other.join();
    sigaction(SIGUSR1, &former, nullptr);
    EXPECT_TRUE(m_host->registrations().back().loopAttached);
    EXPECT_EQ(m_host->call(instance, 1).value, Value(42));
    pp::Instance(instance).UnregisterMessageHandler();
}

class AReadyThread : public ThreadTest {};

TEST_F(AReadyThread, DoesWhatIsQueuedBeforeItIsJoined) {
    constexpr int kTasks = 100;
    int done = 0;
    {
        SimpleThreadAwaitLoop thread(handle());
        for (int i = 0; i < kTasks; ++i) post(thread.message_loop(), [&] { ++done; });
        ASSERT_TRUE(thread.Start());
        for (int i = 0; i < kTasks; ++i) post(thread.message_loop(), [&] { ++done; });
        post(
            thread.message_loop(), [&] { m_log.add("not due"); }, 60000);
    }
    EXPECT_EQ(done, 2 * kTasks);
    EXPECT_THAT(m_log.all(), IsEmpty());
}

TEST_F(AReadyThread, IsStartedOnce) {
    SimpleThreadAwaitLoop thread(handle());
    EXPECT_TRUE(thread.Start());
    EXPECT_FALSE(thread.Start());
}

TEST_F(AReadyThread, MayNeverBeStarted) {
    PP_Resource loop = 0;
    {
        SimpleThreadAwaitLoop thread(handle());
        loop = thread.message_loop().pp_resource();
        EXPECT_EQ(post(thread.message_loop(), logs("never")), PP_OK);
    }
    EXPECT_THAT(m_log.all(), IsEmpty());
    EXPECT_EQ(references(loop), 0);
}

TEST_F(AReadyThread, MayBeMadeForNoInstance) {
    SimpleThreadAwaitLoop thread(InstanceHandle(PP_Instance{0}));
    EXPECT_TRUE(thread.message_loop().is_null());
    EXPECT_TRUE(thread.Start()) << "its thread ends at once";
}

TEST_F(AReadyThread, MayBeOneOfMany) {
    std::vector<std::unique_ptr<SimpleThreadAwaitLoop>> threads;
    std::atomic<int> done{0};
    for (int i = 0; i < 10; ++i) {
        threads.push_back(std::make_unique<SimpleThreadAwaitLoop>(handle()));
        ASSERT_TRUE(threads.back()->Start());
        post(threads.back()->message_loop(), [&] { ++done; });
    }
    threads.clear();
    EXPECT_EQ(done, 10);
}

}  // namespace
