// What a page gets that waits for an answer.

#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "host_test.h"
#include "thread_tools.h"

namespace {

using host::CallResult;
using std::chrono::milliseconds;
using support::arrays;
using support::core;
using support::loops;
using support::LoopThread;
using support::messaging;
using support::Signal;
using support::text;
using support::vars;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

class CallTest : public HostTest {
  protected:
    void SetUp() override {
        m_instance = page();
        m_thread.emplace(m_instance);
        ASSERT_EQ(m_handler.registerOn(m_instance, m_thread->loop()), PP_OK);
    }
    void TearDown() override {
        m_thread.reset();
        HostTest::TearDown();
    }

    void answersWith(const std::function<PP_Var(PP_Var message)>& answer) {
        m_handler.handleBlockingMessage = [answer](PP_Instance, PP_Var message) {
            return answer(message);
        };
    }

    CallResult call(const Value& value = "x") { return m_host->call(m_instance, value); }

    /// The loop has done what is due, whether or not a handler is registered on it.
    void settleLoop() {
        Signal done;
        m_work.post(m_thread->loop(), [&] { done.give(); });
        ASSERT_TRUE(done.wait());
    }

    PP_Instance m_instance = 0;
    ScriptedHandler m_handler;
    std::optional<LoopThread> m_thread;
};

using ACall = CallTest;

TEST_F(ACall, IsAnsweredWithTheResponse) {
    answersWith([](PP_Var) {
        return support::moduleVar(Value::Dictionary{{"code", 0}, {"list", Value::Array{1.5}}});
    });
    const CallResult result = call();
    EXPECT_EQ(result.status, CallResult::Status::Replied);
    EXPECT_TRUE(result.replied());
    EXPECT_EQ(result.value, (Value::Dictionary{{"code", 0}, {"list", Value::Array{1.5}}}));
    EXPECT_THAT(m_host->moduleHeldVars(), IsEmpty());
}

TEST_F(ACall, IsAnsweredWithUndefinedWhenTheHandlerSetsNothing) {
    const CallResult result = call();
    EXPECT_TRUE(result.replied());
    EXPECT_TRUE(result.value.isUndefined());
}

TEST_F(ACall, BringsItsArgumentToTheHandler) {
    answersWith([](PP_Var message) {
        vars().AddRef(message);
        return message;
    });
    for (const Value& value : {Value(), Value(Value::Null{}), Value(true), Value(-1), Value(0.5),
                               Value("text"), Value(Value::Array{Value(), 1}),
                               Value(Value::Dictionary{{"k", "v"}}), Value(Value::Buffer{1, 2})}) {
        SCOPED_TRACE(value);
        EXPECT_EQ(call(value).value, value);
    }
}

TEST_F(ACall, SeesUndefinedInAResponseThatCannotBeConverted) {
    PP_Var array = PP_MakeUndefined();
    answersWith([&](PP_Var) {
        array = arrays().Create();
        vars().AddRef(array);
        arrays().Set(array, 0, array);
        return array;
    });
    const CallResult result = call();
    EXPECT_TRUE(result.replied());
    EXPECT_TRUE(result.value.isUndefined());
    EXPECT_THAT(m_host->consoleLines(),
                ElementsAre(AllOf(HasSubstr("response"), HasSubstr("cycle"))));
    EXPECT_THAT(m_host->moduleHeldVars(), SizeIs(1)) << "the response's reference was taken";
    arrays().SetLength(array, 0);
    vars().Release(array);
}

TEST_F(ACall, SeesUndefinedInADeadResponse) {
    answersWith([](PP_Var) {
        const PP_Var response = text("dead");
        vars().Release(response);
        return response;
    });
    const CallResult result = call();
    EXPECT_TRUE(result.replied());
    EXPECT_TRUE(result.value.isUndefined());
    EXPECT_THAT(m_host->consoleLines(), SizeIs(1));
    EXPECT_THAT(m_host->problems(), Not(IsEmpty()));
    expectProblems(Each(AllOf(HasSubstr("response"), HasSubstr("dead"))));
}

TEST_F(ACall, WaitsBehindEarlierWork) {
    Signal release;
    Signal working;
    m_work.post(m_thread->loop(), [&] {
        working.give();
        EXPECT_TRUE(release.wait());
        m_handler.log.add("earlier work");
    });
    ASSERT_TRUE(working.wait());
    m_host->post(m_instance, 1);
    std::thread caller([&] { EXPECT_TRUE(call(2).replied()); });
    release.give();
    caller.join();
    EXPECT_THAT(m_handler.log.all(), ElementsAre("earlier work", "message 1", "call 2"));
}

TEST_F(ACall, FromManyThreadsIsServedOneAfterTheOther) {
    bool inside = false;
    answersWith([&](PP_Var message) {
        EXPECT_FALSE(std::exchange(inside, true));
        const Value value = support::valueOf(message);
        inside = false;
        return PP_MakeInt32(value.asInt32() * 2);
    });
    support::onThreads(8, [&](int i) {
        for (int j = 0; j < 50; ++j) {
            EXPECT_EQ(m_host->call(m_instance, i * 100 + j).value, Value((i * 100 + j) * 2));
        }
    });
    EXPECT_THAT(m_handler.log.all(), SizeIs(400));
}

TEST_F(ACall, TimesOutAndTheLateAnswerIsDropped) {
    Signal release;
    answersWith([&](PP_Var) {
        EXPECT_TRUE(release.wait());
        return text("late");
    });
    const CallResult result = m_host->call(m_instance, 1, milliseconds(1));
    EXPECT_EQ(result.status, CallResult::Status::TimedOut);
    EXPECT_FALSE(result.replied());
    EXPECT_TRUE(result.value.isUndefined());
    release.give();
    settleLoop();
    answersWith([](PP_Var) { return text("in time"); });
    EXPECT_EQ(call().value, Value("in time"));
    EXPECT_THAT(m_host->moduleHeldVars(), IsEmpty()) << "the late answer's reference was taken";
}

TEST_F(ACall, TimesOutWhenTheLoopIsAttachedAndNeverRun) {
    const PP_Resource loop = loops().Create(m_instance);
    std::thread([&] {
        loops().AttachToCurrentThread(loop);
        ASSERT_EQ(m_handler.registerOn(m_instance, loop), PP_OK);
        EXPECT_EQ(m_host->call(m_instance, 1, milliseconds(50)).status,
                  CallResult::Status::TimedOut);
    }).join();
    settleLoop();
    EXPECT_THAT(m_handler.log.all(), ElementsAre("destroy")) << "from the loop it was on before";
    core().ReleaseResource(loop);
}

TEST_F(ACall, TimesOutWhenTheLoopsThreadEndsWithTheCallQueued) {
    const PP_Resource loop = loops().Create(m_instance);
    ScriptedHandler handler;
    CallResult result;
    std::thread caller;
    std::thread([&] {
        loops().AttachToCurrentThread(loop);
        ASSERT_EQ(handler.registerOn(m_instance, loop), PP_OK);
        caller = std::thread([&] { result = m_host->call(m_instance, 1, milliseconds(200)); });
        // The host asks for it with the first message: then the call is on its way to the loop.
        EXPECT_TRUE(m_module.calls.waitFor("PPP_GetInterface PPP_Messaging;1.0"));
        m_host->runOnMain([] {});
    }).join();
    caller.join();
    EXPECT_EQ(result.status, CallResult::Status::TimedOut);
    EXPECT_THAT(handler.log.all(), IsEmpty());
    core().ReleaseResource(loop);
}

TEST_F(ACall, ToAnUnknownInstanceFindsItGone) {
    EXPECT_EQ(m_host->call(m_instance + 1, 1).status, CallResult::Status::InstanceGone);
    const PP_Instance other = m_host->embed();
    m_host->destroy(other);
    EXPECT_EQ(m_host->call(other, 1).status, CallResult::Status::InstanceGone);
}

TEST_F(ACall, OnTheMainThreadWouldWaitForItself) {
    m_host->runOnMain([&] { EXPECT_THROW(call(), std::logic_error); });
    EXPECT_THAT(m_handler.log.all(), IsEmpty());
}

TEST_F(ACall, LeavesTheMainThreadFree) {
    answersWith([&](PP_Var) {
        Signal done;
        core().CallOnMainThread(0, m_work.callback([&](std::int32_t) { done.give(); }), 0);
        EXPECT_TRUE(done.wait());
        return PP_MakeBool(PP_TRUE);
    });
    EXPECT_EQ(call().value, Value(true));
}

TEST_F(ACall, MayPostToThePageMeanwhile) {
    answersWith([&](PP_Var) {
        const PP_Var message = text("from inside");
        messaging().PostMessage(m_instance, message);
        vars().Release(message);
        return text("answer");
    });
    EXPECT_EQ(call().value, Value("answer"));
    EXPECT_THAT(arrived(), ElementsAre(Value("from inside")));
}

TEST_F(ACall, IsAnsweredByAHandlerThatUnregistersItself) {
    answersWith([&](PP_Var) {
        messaging().UnregisterMessageHandler(m_instance);
        return text("last words");
    });
    EXPECT_EQ(call().value, Value("last words"));
    EXPECT_EQ(call().status, CallResult::Status::NotHandled);
    settleLoop();
    EXPECT_THAT(m_handler.log.all(), ElementsAre(R"(call "x")", "destroy"));
}

TEST_F(ACall, IsAnsweredByAHandlerThatReplacesItself) {
    ScriptedHandler next;
    next.handleBlockingMessage = [](PP_Instance, PP_Var) { return text("new"); };
    answersWith([&](PP_Var) {
        EXPECT_EQ(next.registerOn(m_instance, m_thread->loop()), PP_OK);
        return text("old");
    });
    EXPECT_EQ(call().value, Value("old"));
    EXPECT_EQ(call().value, Value("new"));
    EXPECT_THAT(m_handler.log.all(), ElementsAre(R"(call "x")", "destroy"));
    m_host->unregister(m_instance);
    settleLoop();
}

TEST_F(ACall, IsAnsweredByAHandlerThatQuitsItsLoop) {
    answersWith([&](PP_Var) {
        loops().PostQuit(m_thread->loop(), PP_TRUE);
        return text("goodbye");
    });
    EXPECT_EQ(call().value, Value("goodbye"));
    EXPECT_EQ(m_thread->stop(), PP_OK);
    EXPECT_EQ(call().status, CallResult::Status::NotHandled);
    EXPECT_THAT(m_handler.log.all(), ElementsAre(R"(call "x")"));
}

TEST(TheStatusOfACall, HasNames) {
    const auto name = [](CallResult::Status status) {
        std::ostringstream out;
        out << status;
        return out.str();
    };
    EXPECT_EQ(name(CallResult::Status::Replied), "Replied");
    EXPECT_EQ(name(CallResult::Status::NotHandled), "NotHandled");
    EXPECT_EQ(name(CallResult::Status::TimedOut), "TimedOut");
    EXPECT_EQ(name(CallResult::Status::InstanceGone), "InstanceGone");
}

}  // namespace
