// Message handlers: who gets a page's message, and when Destroy comes.

#include <string>
#include <thread>
#include <vector>

#include "host_test.h"

namespace {

using host::CallResult;
using support::core;
using support::loops;
using support::LoopThread;
using support::messaging;
using support::Signal;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// An instance with a running loop. Messages without a handler are logged as "main thread <text>".
class HandlerTest : public HostTest {
  protected:
    void SetUp() override {
        m_module.handleMessage = [this](PP_Instance, PP_Var message) {
            m_unhandled.add(support::textOf(message).value_or("no text"));
            support::vars().Release(message);
        };
        m_instance = page();
        m_thread.emplace(m_instance);
    }
    void TearDown() override {
        m_thread.reset();
        HostTest::TearDown();
    }

    PP_Resource loop() const { return m_thread->loop(); }

    /// Holds the loop's thread up until the result is told to give way.
    std::shared_ptr<Signal> blockLoop() {
        auto release = std::make_shared<Signal>();
        m_work.post(loop(), [release] { EXPECT_TRUE(release->wait()); });
        return release;
    }

    /// Everything that is due has been done.
    void settle() { ASSERT_TRUE(m_host->drain(m_instance)); }

    /// The loop has done what is due, whether or not a handler is registered on it.
    void settleLoop() {
        Signal done;
        m_work.post(loop(), [&] { done.give(); });
        ASSERT_TRUE(done.wait());
    }

    PP_Instance m_instance = 0;
    support::EventLog m_unhandled;
    ScriptedHandler m_handler;
    std::optional<LoopThread> m_thread;
};

using ARegistration = HandlerTest;
using ARegisteredHandler = HandlerTest;
using AHandlerWithoutAThread = HandlerTest;
using AnUnregisteredHandler = HandlerTest;
using AReplacedHandler = HandlerTest;
using AnInstanceWithoutAHandler = HandlerTest;
using ADestroyedInstancesHandler = HandlerTest;

std::int32_t tryRegistering(PP_Instance instance, const PPP_MessageHandler_0_2* table,
                            PP_Resource loop) {
    return messaging().RegisterMessageHandler(instance, nullptr, table, loop);
}

TEST_F(ARegistration, ChecksInstanceThenTableThenLoop) {
    PPP_MessageHandler_0_2 noMessage = ScriptedHandler::kTable;
    noMessage.HandleMessage = nullptr;
    PPP_MessageHandler_0_2 noCall = ScriptedHandler::kTable;
    noCall.HandleBlockingMessage = nullptr;
    PPP_MessageHandler_0_2 noDestroy = ScriptedHandler::kTable;
    noDestroy.Destroy = nullptr;
    const PPP_MessageHandler_0_2* good = &ScriptedHandler::kTable;

    const PP_Instance unknown = m_instance + 1;
    const PP_Instance destroyed = m_host->embed();
    const PP_Resource dead = loops().Create(destroyed);
    core().ReleaseResource(dead);
    const PP_Resource ofDeadInstance = loops().Create(destroyed);
    m_host->destroy(destroyed);
    const PP_Resource main = loops().GetForMainThread();
    const PP_Resource unattached = loops().Create(m_instance);

    struct Row {
        const char* name;
        PP_Instance instance;
        const PPP_MessageHandler_0_2* table;
        PP_Resource loop;
        std::int32_t result;
    };
    const Row rows[] = {
        {"no instance", 0, good, loop(), PP_ERROR_BADARGUMENT},
        {"unknown instance", unknown, good, loop(), PP_ERROR_BADARGUMENT},
        {"unknown instance, main loop", unknown, good, main, PP_ERROR_BADARGUMENT},
        {"destroyed instance, bad loop", destroyed, good, 0, PP_ERROR_BADARGUMENT},
        {"no table", m_instance, nullptr, loop(), PP_ERROR_BADARGUMENT},
        {"no table, no loop", m_instance, nullptr, 0, PP_ERROR_BADARGUMENT},
        {"no HandleMessage, no loop", m_instance, &noMessage, 0, PP_ERROR_BADARGUMENT},
        {"no HandleMessage", m_instance, &noMessage, loop(), PP_ERROR_BADARGUMENT},
        {"no HandleBlockingMessage", m_instance, &noCall, loop(), PP_ERROR_BADARGUMENT},
        {"no Destroy, main loop", m_instance, &noDestroy, main, PP_ERROR_BADARGUMENT},
        {"no loop", m_instance, good, 0, PP_ERROR_BADRESOURCE},
        {"unknown loop", m_instance, good, 4711, PP_ERROR_BADRESOURCE},
        {"dead loop", m_instance, good, dead, PP_ERROR_BADRESOURCE},
        {"dead instance's loop", m_instance, good, ofDeadInstance, PP_ERROR_BADRESOURCE},
        {"main loop", m_instance, good, main, PP_ERROR_WRONG_THREAD},
        {"unattached loop", m_instance, good, unattached, PP_OK},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(tryRegistering(row.instance, row.table, row.loop), row.result);
        const host::Registration noted = m_host->registrations().back();
        EXPECT_EQ(noted.instance, row.instance);
        EXPECT_EQ(noted.loop, row.loop);
        EXPECT_EQ(noted.result, row.result);
    }
    EXPECT_THAT(m_host->registrations(), SizeIs(std::size(rows)));
    messaging().UnregisterMessageHandler(m_instance);
    for (const PP_Resource resource : {ofDeadInstance, main, unattached}) {
        core().ReleaseResource(resource);
    }
}

TEST_F(ARegistration, RefusesAViewAsALoop) {
    std::int32_t result = PP_OK;
    m_module.didChangeView = [&](PP_Instance instance, PP_Resource view) {
        result = m_handler.registerOn(instance, view);
    };
    m_host->drain(m_host->embed());
    EXPECT_EQ(result, PP_ERROR_BADRESOURCE);
    m_module.didChangeView = nullptr;
}

TEST_F(ARegistration, TellsWhetherTheLoopHadItsThread) {
    const PP_Resource unattached = loops().Create(m_instance);
    m_handler.registerOn(m_instance, unattached);
    EXPECT_FALSE(m_host->registrations().back().loopAttached);
    m_handler.registerOn(m_instance, loop());
    EXPECT_TRUE(m_host->registrations().back().loopAttached);
    messaging().UnregisterMessageHandler(m_instance);
    settleLoop();
    core().ReleaseResource(unattached);
}

TEST_F(ARegistration, ThatFailsLeavesTheHandlerThereIs) {
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    ScriptedHandler refused;
    EXPECT_EQ(refused.registerOn(m_instance, 0), PP_ERROR_BADRESOURCE);
    EXPECT_EQ(tryRegistering(m_instance, nullptr, loop()), PP_ERROR_BADARGUMENT);
    m_host->post(m_instance, "still here");
    settle();
    EXPECT_THAT(m_handler.log.all(), ElementsAre(R"(message "still here")"));
    EXPECT_THAT(refused.log.all(), IsEmpty());
}

TEST_F(ARegistration, MayComeFromAnyThread) {
    std::int32_t result = PP_ERROR_FAILED;
    std::thread([&] { result = m_handler.registerOn(m_instance, loop()); }).join();
    EXPECT_EQ(result, PP_OK);
    m_host->post(m_instance, 1);
    settle();
    EXPECT_THAT(m_handler.log.all(), ElementsAre("message 1"));
}

TEST_F(ARegistration, MayComeInsideDidCreateAndDidDestroy) {
    std::int32_t atStart = PP_ERROR_FAILED;
    std::int32_t atEnd = PP_ERROR_FAILED;
    ScriptedHandler last;
    m_module.didCreate = [&](PP_Instance instance, const host::Attributes&) {
        atStart = m_handler.registerOn(instance, loop());
        return true;
    };
    m_module.didDestroy = [&](PP_Instance instance) { atEnd = last.registerOn(instance, loop()); };
    const PP_Instance other = m_host->embed();
    m_host->post(other, "x");
    ASSERT_TRUE(m_host->drain(other));
    m_host->destroy(other);
    settleLoop();
    EXPECT_EQ(atStart, PP_OK);
    EXPECT_EQ(atEnd, PP_OK);
    EXPECT_THAT(m_handler.log.all(), ElementsAre(R"(message "x")", "destroy"));
    EXPECT_THAT(last.log.all(), ElementsAre("destroy"));
    m_module.didDestroy = nullptr;
}

TEST_F(ARegistration, KeepsTheLoopAliveByItself) {
    const PP_Resource own = loops().Create(m_instance);
    Signal registered;
    std::thread thread([&] {
        loops().AttachToCurrentThread(own);
        core().ReleaseResource(own);
        EXPECT_EQ(m_handler.registerOn(m_instance, own), PP_OK);
        registered.give();
        EXPECT_EQ(loops().Run(own), PP_OK);
    });
    ASSERT_TRUE(registered.wait());
    m_host->post(m_instance, "arrives");
    settle();
    EXPECT_THAT(m_handler.log.all(), ElementsAre(R"(message "arrives")"));
    EXPECT_EQ(loops().PostQuit(own, PP_TRUE), PP_OK);
    thread.join();
}

TEST_F(ARegisteredHandler, GetsMessagesOnItsLoopsThread) {
    std::thread::id messageThread;
    std::thread::id callThread;
    std::thread::id destroyThread;
    m_handler.handleMessage = [&](PP_Instance, PP_Var) {
        messageThread = std::this_thread::get_id();
    };
    m_handler.handleBlockingMessage = [&](PP_Instance instance, PP_Var) {
        callThread = std::this_thread::get_id();
        return PP_MakeInt32(instance);
    };
    m_handler.destroy = [&](PP_Instance) { destroyThread = std::this_thread::get_id(); };
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    m_host->post(m_instance, 1);
    EXPECT_EQ(m_host->call(m_instance, 2).value, Value(m_instance));
    messaging().UnregisterMessageHandler(m_instance);
    settleLoop();
    EXPECT_EQ(messageThread, m_thread->id());
    EXPECT_EQ(callThread, m_thread->id());
    EXPECT_EQ(destroyThread, m_thread->id());
    EXPECT_THAT(m_unhandled.all(), IsEmpty());
}

TEST_F(ARegisteredHandler, SharesItsLoopsOrderWithAllOtherWork) {
    const auto release = blockLoop();
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    const auto arrives = [&] { m_host->runOnMain([] {}); };
    m_host->post(m_instance, 1);
    arrives();
    m_work.post(loop(), [&] { m_handler.log.add("work"); });
    m_host->post(m_instance, 2);
    arrives();
    std::thread caller([&] { EXPECT_TRUE(m_host->call(m_instance, 3).replied()); });
    release->give();
    caller.join();
    messaging().UnregisterMessageHandler(m_instance);
    m_work.post(loop(), [&] { m_handler.log.add("last"); });
    settleLoop();
    EXPECT_THAT(m_handler.log.all(),
                ElementsAre("message 1", "work", "message 2", "call 3", "destroy", "last"));
}

TEST_F(ARegisteredHandler, GetsWhatWaitsForALoopThatIsNotRunYet) {
    const PP_Resource own = loops().Create(m_instance);
    Signal attached;
    Signal go;
    std::thread thread([&] {
        loops().AttachToCurrentThread(own);
        attached.give();
        EXPECT_TRUE(go.wait());
        EXPECT_EQ(loops().Run(own), PP_OK);
    });
    ASSERT_TRUE(attached.wait());
    ASSERT_EQ(m_handler.registerOn(m_instance, own), PP_OK);
    m_host->post(m_instance, 1);
    m_host->post(m_instance, 2);
    m_host->runOnMain([] {});
    EXPECT_THAT(m_handler.log.all(), IsEmpty());
    loops().PostQuit(own, PP_TRUE);
    go.give();
    thread.join();
    EXPECT_THAT(m_handler.log.all(), ElementsAre("message 1", "message 2"));
    core().ReleaseResource(own);
}

TEST_F(ARegisteredHandler, MayServeSeveralInstances) {
    const PP_Instance other = m_host->embed();
    std::vector<PP_Instance> served;
    m_handler.handleMessage = [&](PP_Instance instance, PP_Var) { served.push_back(instance); };
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    ASSERT_EQ(m_handler.registerOn(other, loop()), PP_OK);
    m_host->post(m_instance, 1);
    m_host->post(other, 2);
    settle();
    EXPECT_THAT(served, ElementsAre(m_instance, other));
}

TEST_F(AnInstanceWithoutAHandler, GetsMessagesOnTheMainThread) {
    bool onMain = false;
    m_module.handleMessage = [&](PP_Instance instance, PP_Var message) {
        onMain = PP_ToBool(core().IsMainThread());
        EXPECT_EQ(instance, m_instance);
        m_unhandled.add(support::textOf(message).value());
        support::vars().Release(message);
    };
    m_host->post(m_instance, "hello");
    settle();
    EXPECT_TRUE(onMain);
    EXPECT_THAT(m_unhandled.all(), ElementsAre("hello"));
}

TEST_F(AnInstanceWithoutAHandler, CannotAnswerACall) {
    EXPECT_EQ(m_host->call(m_instance, "hello").status, CallResult::Status::NotHandled);
    EXPECT_THAT(m_unhandled.all(), IsEmpty());
}

TEST_F(AHandlerWithoutAThread, IsForgottenWithoutDestroyWhenAMessageComes) {
    const PP_Resource own = loops().Create(m_instance);
    ASSERT_EQ(m_handler.registerOn(m_instance, own), PP_OK);
    m_host->post(m_instance, "lost");
    settle();
    EXPECT_THAT(m_unhandled.all(), ElementsAre("lost"));

    std::thread([&] {
        loops().AttachToCurrentThread(own);
        loops().PostQuit(own, PP_TRUE);
        m_host->post(m_instance, "not his any more");
        m_host->runOnMain([] {});
        loops().Run(own);
    }).join();
    EXPECT_THAT(m_unhandled.all(), ElementsAre("lost", "not his any more"));
    EXPECT_THAT(m_handler.log.all(), IsEmpty());
    core().ReleaseResource(own);
}

TEST_F(AHandlerWithoutAThread, IsForgottenWithoutDestroyWhenACallComes) {
    const PP_Resource own = loops().Create(m_instance);
    ASSERT_EQ(m_handler.registerOn(m_instance, own), PP_OK);
    EXPECT_EQ(m_host->call(m_instance, "lost").status, CallResult::Status::NotHandled);
    m_host->post(m_instance, "main");
    settle();
    EXPECT_THAT(m_unhandled.all(), ElementsAre("main"));
    EXPECT_THAT(m_handler.log.all(), IsEmpty());
    core().ReleaseResource(own);
}

TEST_F(AHandlerWithoutAThread, GetsItsMessagesIfTheLoopIsAttachedFirst) {
    const PP_Resource own = loops().Create(m_instance);
    ASSERT_EQ(m_handler.registerOn(m_instance, own), PP_OK);
    std::thread([&] {
        loops().AttachToCurrentThread(own);
        m_host->post(m_instance, "in time");
        m_host->runOnMain([] {});
        loops().PostQuit(own, PP_TRUE);
        loops().Run(own);
    }).join();
    EXPECT_THAT(m_handler.log.all(), ElementsAre(R"(message "in time")"));
    EXPECT_THAT(m_unhandled.all(), IsEmpty());
    core().ReleaseResource(own);
}

TEST_F(AHandlerWithoutAThread, IsForgottenWhenItsLoopIsDestroyed) {
    LoopThread own(m_instance);
    ASSERT_EQ(m_handler.registerOn(m_instance, own.loop()), PP_OK);
    own.stop();
    m_host->post(m_instance, "main");
    settle();
    EXPECT_THAT(m_unhandled.all(), ElementsAre("main"));
    EXPECT_EQ(m_host->call(m_instance, 1).status, CallResult::Status::NotHandled);
    EXPECT_THAT(m_handler.log.all(), IsEmpty());
}

TEST_F(AHandlerWithoutAThread, NeverGetsDestroy) {
    const PP_Resource own = loops().Create(m_instance);
    ASSERT_EQ(m_handler.registerOn(m_instance, own), PP_OK);
    messaging().UnregisterMessageHandler(m_instance);
    std::thread([&] {
        loops().AttachToCurrentThread(own);
        loops().PostQuit(own, PP_TRUE);
        EXPECT_EQ(loops().Run(own), PP_OK);
    }).join();
    EXPECT_THAT(m_handler.log.all(), IsEmpty());
    core().ReleaseResource(own);
}

TEST_F(AnUnregisteredHandler, GetsDestroyAfterWhatWasQueued) {
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    const auto release = blockLoop();
    m_host->post(m_instance, 1);
    m_host->runOnMain([] {});
    messaging().UnregisterMessageHandler(m_instance);
    m_host->post(m_instance, "main");
    m_host->runOnMain([] {});
    EXPECT_THAT(m_unhandled.all(), ElementsAre("main"));
    EXPECT_THAT(m_handler.log.all(), IsEmpty());
    release->give();
    settleLoop();
    EXPECT_THAT(m_handler.log.all(), ElementsAre("message 1", "destroy"));
}

TEST_F(AnUnregisteredHandler, GetsDestroyOnce) {
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    messaging().UnregisterMessageHandler(m_instance);
    messaging().UnregisterMessageHandler(m_instance);
    messaging().UnregisterMessageHandler(m_instance + 1);
    settleLoop();
    m_host->destroy(m_instance);
    settleLoop();
    EXPECT_THAT(m_handler.log.all(), ElementsAre("destroy"));
}

TEST_F(AnUnregisteredHandler, IsTheSameWhenThePageTakesItAway) {
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    m_host->unregister(m_instance);
    settleLoop();
    EXPECT_THAT(m_handler.log.all(), ElementsAre("destroy"));
    EXPECT_EQ(m_host->call(m_instance, 1).status, CallResult::Status::NotHandled);
    m_host->unregister(m_instance);
    m_host->unregister(4711);
}

TEST_F(AnUnregisteredHandler, MayDoItFromInsideACall) {
    m_handler.handleMessage = [&](PP_Instance instance, PP_Var) {
        messaging().UnregisterMessageHandler(instance);
        m_handler.log.add("goes on");
    };
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    m_host->post(m_instance, 1);
    settle();
    settleLoop();
    EXPECT_THAT(m_handler.log.all(), ElementsAre("message 1", "goes on", "destroy"));
}

TEST_F(AReplacedHandler, GetsDestroyAfterWhatWasQueuedForIt) {
    ScriptedHandler next;
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    const auto release = blockLoop();
    m_host->post(m_instance, 1);
    m_host->runOnMain([] {});
    ASSERT_EQ(next.registerOn(m_instance, loop()), PP_OK);
    m_host->post(m_instance, 2);
    m_host->runOnMain([] {});
    release->give();
    settle();
    EXPECT_THAT(m_handler.log.all(), ElementsAre("message 1", "destroy"));
    EXPECT_THAT(next.log.all(), ElementsAre("message 2"));
    m_host->unregister(m_instance);
    settleLoop();
}

TEST_F(AReplacedHandler, GetsDestroyOnItsOwnLoop) {
    LoopThread old(m_instance);
    std::thread::id destroyThread;
    ScriptedHandler first;
    first.destroy = [&](PP_Instance) { destroyThread = std::this_thread::get_id(); };
    const std::thread::id oldThread = old.id();
    ASSERT_EQ(first.registerOn(m_instance, old.loop()), PP_OK);
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    old.stop();
    EXPECT_EQ(destroyThread, oldThread);
    EXPECT_THAT(first.log.all(), ElementsAre("destroy"));
}

TEST_F(AReplacedHandler, MayBeTheSameOne) {
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    ASSERT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    m_host->post(m_instance, 1);
    settle();
    EXPECT_THAT(m_handler.log.all(), ElementsAre("destroy", "message 1"));
}

TEST_F(ADestroyedInstancesHandler, GetsDestroyAfterDidDestroyWithADeadId) {
    PP_Resource madeInDestroy = -1;
    m_handler.destroy = [&](PP_Instance instance) { madeInDestroy = loops().Create(instance); };
    const PP_Instance other = m_host->embed();
    ASSERT_EQ(m_handler.registerOn(other, loop()), PP_OK);
    m_module.didDestroy = [&](PP_Instance) { m_handler.log.add("DidDestroy"); };
    m_host->destroy(other);
    settleLoop();
    EXPECT_THAT(m_handler.log.all(), ElementsAre("DidDestroy", "destroy"));
    EXPECT_EQ(madeInDestroy, 0);
    m_module.didDestroy = nullptr;
}

TEST_F(ADestroyedInstancesHandler, GetsTheMessagesThatAreQueuedButNoCalls) {
    const PP_Instance other = m_host->embed();
    ASSERT_EQ(m_handler.registerOn(other, loop()), PP_OK);
    const auto release = blockLoop();
    CallResult result;
    std::thread caller([&] { result = m_host->call(other, 1); });
    // The host asks for it with the first message: then the call is on its way to the loop.
    ASSERT_TRUE(m_module.calls.waitFor("PPP_GetInterface PPP_Messaging;1.0"));
    m_host->post(other, 2);
    m_host->runOnMain([] {});
    m_host->destroy(other);
    release->give();
    caller.join();
    settleLoop();
    EXPECT_EQ(result.status, CallResult::Status::InstanceGone);
    EXPECT_THAT(m_handler.log.all(), ElementsAre("message 2", "destroy"));
}

TEST_F(ADestroyedInstancesHandler, EndsInOrderWhenTheModuleTidiesUp) {
    std::optional<LoopThread> own;
    Signal release;
    std::int32_t runResult = PP_ERROR_FAILED;
    m_module.didDestroy = [&](PP_Instance instance) {
        messaging().UnregisterMessageHandler(instance);
        release.give();
        runResult = own->stop();
        own.reset();
        m_handler.log.add("DidDestroy");
    };
    const PP_Instance other = m_host->embed();
    own.emplace(other);
    ASSERT_EQ(m_handler.registerOn(other, own->loop()), PP_OK);
    m_work.post(own->loop(), [&] { EXPECT_TRUE(release.wait()); });
    m_host->post(other, 1);
    m_host->destroy(other);
    EXPECT_EQ(runResult, PP_OK);
    EXPECT_THAT(m_handler.log.all(), ElementsAre("message 1", "destroy", "DidDestroy"));
    m_module.didDestroy = nullptr;
}

TEST_F(ADestroyedInstancesHandler, NeverGetsDestroyWhenItsLoopEndedFirst) {
    std::optional<LoopThread> own;
    m_module.didDestroy = [&](PP_Instance) { own.reset(); };
    const PP_Instance other = m_host->embed();
    own.emplace(other);
    ASSERT_EQ(m_handler.registerOn(other, own->loop()), PP_OK);
    m_host->post(other, 1);
    m_host->runOnMain([] {});
    m_host->destroy(other);
    EXPECT_THAT(m_handler.log.all(), ElementsAre("message 1"));
    m_module.didDestroy = nullptr;
}

TEST_F(ARegistration, CanBeMadeToFailOnce) {
    m_host->failNextRegistration(-8);
    EXPECT_EQ(m_handler.registerOn(m_instance, loop()), -8);
    EXPECT_EQ(m_host->registrations().back().result, -8);
    EXPECT_TRUE(m_host->registrations().back().loopAttached);
    EXPECT_EQ(m_host->call(m_instance, 1).status, CallResult::Status::NotHandled);
    EXPECT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    EXPECT_TRUE(m_host->call(m_instance, 1).replied());
}

TEST_F(ARegistration, CanBeMadeToFailUntilFurtherNotice) {
    m_host->setRegistrationResult(-12);
    EXPECT_EQ(m_handler.registerOn(m_instance, loop()), -12);
    EXPECT_EQ(tryRegistering(0, nullptr, 0), -12) << "no check comes before it";
    EXPECT_EQ(m_handler.registerOn(m_instance, loop()), -12);
    m_host->setRegistrationResult(std::nullopt);
    EXPECT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
    EXPECT_THAT(m_host->registrations(), SizeIs(4));
}

TEST_F(ARegistration, CannotBeMadeToFailWithSuccess) {
    EXPECT_THROW(m_host->failNextRegistration(PP_OK), std::invalid_argument);
    EXPECT_THROW(m_host->setRegistrationResult(PP_OK), std::invalid_argument);
    EXPECT_EQ(m_handler.registerOn(m_instance, loop()), PP_OK);
}

using AModuleWithoutMessaging = HostTest;

TEST_F(AModuleWithoutMessaging, LosesMessagesWithALineOnTheConsole) {
    m_module.hasMessaging = false;
    std::vector<std::string> told;
    host::PluginHost::Options options;
    options.onConsole = [&](const std::string& line) { told.push_back(line); };
    const PP_Instance instance = page(std::move(options));
    EXPECT_EQ(m_host->call(instance, 1).status, CallResult::Status::NotHandled);
    EXPECT_THAT(m_host->consoleLines(), IsEmpty());
    m_host->post(instance, 1);
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_THAT(m_host->consoleLines(),
                ElementsAre("a message without a handler, and the module has no PPP_Messaging;1.0: "
                            "a browser's plug-in process would crash"));
    EXPECT_EQ(told, m_host->consoleLines());
}

TEST_F(AModuleWithoutMessaging, IsOneWhoseTableIsEmpty) {
    m_module.messaging.HandleMessage = nullptr;
    const PP_Instance instance = page();
    m_host->post(instance, 1);
    ASSERT_TRUE(m_host->drain(instance));
    EXPECT_THAT(m_host->consoleLines(), ElementsAre(::testing::HasSubstr("PPP_Messaging;1.0")));
}

}  // namespace
