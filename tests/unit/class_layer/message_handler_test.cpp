// Message handlers through the class layer, and the runtime's base of them.

#include "ppapi/cpp/message_handler.h"

#include <memory>
#include <string>
#include <vector>

#include "layer_test.h"
#include "loop_thread.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/cpp/var_dictionary.h"
#include "runtime/pp_base_message_handler.h"

namespace {

using pp::InstanceHandle;
using pp::MessageLoop;
using pp::Var;
using support::LoopThread;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Logs what it is called with; answers calls with "answer", or with the message itself.
class LoggingHandler : public pp::MessageHandler {
  public:
    void HandleMessage(InstanceHandle instance, const Var& message) override {
        log("message", instance, message.AsString());
        if (m_keeps) m_kept.push_back(message);
    }
    Var HandleBlockingMessage(InstanceHandle instance, const Var& message) override {
        log("call", instance, message.AsString());
        return m_echoes ? message : Var("answer");
    }
    void WasUnregistered(InstanceHandle instance) override { log("unregistered", instance, ""); }

    support::EventLog m_log;
    bool m_echoes = false;
    bool m_keeps = false;
    std::vector<Var> m_kept;

  private:
    void log(const std::string& what, const InstanceHandle& instance, const std::string& text) {
        m_log.add(what + " " + std::to_string(instance.pp_instance()) +
                  (text.empty() ? "" : " " + text));
    }
};

class HandlerTest : public LayerTest {
  protected:
    void SetUp() override {
        m_instance = page();
        m_id = std::to_string(m_instance);
        m_thread.emplace(m_instance);
    }
    void TearDown() override {
        m_thread.reset();
        LayerTest::TearDown();
    }

    std::int32_t registerHandler(pp::MessageHandler* handler, PP_Resource loop) {
        std::int32_t result = 1;
        onMain([&] {
            result = pp::Module::Get()
                         ->InstanceForPPInstance(m_instance)
                         ->RegisterMessageHandler(handler, MessageLoop(loop));
        });
        return result;
    }
    void unregisterHandler() {
        onMain([&] {
            pp::Module::Get()->InstanceForPPInstance(m_instance)->UnregisterMessageHandler();
        });
    }

    /// All reference changes of the module, as the function and what is left.
    static std::vector<std::string> steps() {
        std::vector<std::string> found;
        for (const host::VarOperation& step : host::VarTable::instance().operations()) {
            found.push_back(step.call + " " + std::to_string(step.moduleReferences));
        }
        return found;
    }

    PP_Instance m_instance = 0;
    std::string m_id;
    LoggingHandler m_handler;
    std::optional<LoopThread> m_thread;
};

using AHandler = HandlerTest;

TEST_F(AHandler, GetsMessagesCallsAndItsEnd) {
    ASSERT_EQ(registerHandler(&m_handler, m_thread->loop()), PP_OK);
    m_host->post(m_instance, "posted");
    EXPECT_EQ(m_host->call(m_instance, "asked").value, Value("answer"));
    unregisterHandler();
    m_thread->stop();
    EXPECT_THAT(m_handler.m_log.all(),
                ElementsAre("message " + m_id + " posted", "call " + m_id + " asked",
                            "unregistered " + m_id));
}

TEST_F(AHandler, IsRegisteredWithTheBrowsersChecks) {
    EXPECT_EQ(registerHandler(&m_handler, 0), PP_ERROR_BADRESOURCE);
    onMain([&] {
        EXPECT_EQ(pp::Module::Get()
                      ->InstanceForPPInstance(m_instance)
                      ->RegisterMessageHandler(&m_handler, MessageLoop::GetForMainThread()),
                  PP_ERROR_WRONG_THREAD);
    });
    EXPECT_EQ(pp::Instance(m_instance + 1)
                  .RegisterMessageHandler(&m_handler, MessageLoop(m_thread->loop())),
              PP_ERROR_BADARGUMENT);
    m_host->failNextRegistration(PP_ERROR_FAILED);
    EXPECT_EQ(registerHandler(&m_handler, m_thread->loop()), PP_ERROR_FAILED);
    EXPECT_EQ(registerHandler(&m_handler, m_thread->loop()), PP_OK);
}

TEST_F(AHandler, GivesBackWhatItsMessageCosts) {
    ASSERT_EQ(registerHandler(&m_handler, m_thread->loop()), PP_OK);
    host::VarTable::instance().recordOperations(true);
    m_host->post(m_instance, "posted");
    ASSERT_TRUE(m_host->drain(m_instance));
    EXPECT_THAT(steps(), ElementsAre("PPB_Var.AddRef 1", "PPB_Var.Release 0"));
}

TEST_F(AHandler, MayKeepAMessage) {
    m_handler.m_keeps = true;
    ASSERT_EQ(registerHandler(&m_handler, m_thread->loop()), PP_OK);
    m_host->post(m_instance, "kept");
    ASSERT_TRUE(m_host->drain(m_instance));
    EXPECT_EQ(m_handler.m_kept.at(0).AsString(), "kept");
    m_handler.m_kept.clear();
}

TEST_F(AHandler, GivesAwayOneReferenceToItsAnswer) {
    ASSERT_EQ(registerHandler(&m_handler, m_thread->loop()), PP_OK);
    host::VarTable::instance().recordOperations(true);
    m_host->call(m_instance, 1);
    EXPECT_THAT(steps(), ElementsAre("PPB_Var.VarFromUtf8 1", "response 0"));
}

TEST_F(AHandler, MayAnswerWithTheMessageItself) {
    m_handler.m_echoes = true;
    ASSERT_EQ(registerHandler(&m_handler, m_thread->loop()), PP_OK);
    EXPECT_EQ(m_host->call(m_instance, "echo").value, Value("echo"));
    EXPECT_THAT(m_host->moduleHeldVars(), IsEmpty());
}

TEST_F(AHandler, IsNotDeletedByTheLayer) {
    class EndingHandler : public LoggingHandler {
      public:
        explicit EndingHandler(bool& ended) : m_ended(ended) {}
        ~EndingHandler() override { m_ended = true; }

      private:
        bool& m_ended;
    };
    bool ended = false;
    {
        EndingHandler handler(ended);
        ASSERT_EQ(registerHandler(&handler, m_thread->loop()), PP_OK);
        unregisterHandler();
        m_thread->stop();
        EXPECT_FALSE(ended);
    }
    EXPECT_TRUE(ended);
}

/// The runtime's base with hooks that tell what they got.
class BaseHandler : public PPBaseMessageHandler {
  public:
    void WasUnregistered(InstanceHandle) override { m_log.add("unregistered"); }
    void HandleMessageImpl(InstanceHandle instance, const Var& message) override {
        m_seen = &message;
        m_log.add("message " + std::to_string(instance.pp_instance()));
    }
    Var HandleBlockingMessageImpl(InstanceHandle instance, const Var& message) override {
        m_seen = &message;
        m_log.add("call " + std::to_string(instance.pp_instance()));
        return m_answer;
    }

    using PPBaseMessageHandler::createMessage;

    support::EventLog m_log;
    const Var* m_seen = nullptr;
    Var m_answer = 5;
};

using TheRuntimesHandler = HandlerTest;

TEST_F(TheRuntimesHandler, PassesEachMessageToItsHookAsItCame) {
    BaseHandler handler;
    pp::MessageHandler& base = handler;
    onMain([&] {
        for (const Var& message : {Var("text"), Var(1), Var(), Var(pp::VarDictionary())}) {
            base.HandleMessage(InstanceHandle(PP_Instance{-7}), message);
            EXPECT_EQ(handler.m_seen, &message);
            const Var answer = base.HandleBlockingMessage(InstanceHandle(PP_Instance{8}), message);
            EXPECT_EQ(handler.m_seen, &message);
            EXPECT_EQ(answer.AsInt(), 5);
        }
    });
    EXPECT_EQ(handler.m_log.all().at(0), "message -7");
    EXPECT_EQ(handler.m_log.all().at(1), "call 8");
}

TEST_F(TheRuntimesHandler, ServesAPage) {
    BaseHandler handler;
    onMain([&] { handler.m_answer = Var("answered"); });
    ASSERT_EQ(registerHandler(&handler, m_thread->loop()), PP_OK);
    m_host->post(m_instance, "posted");
    EXPECT_EQ(m_host->call(m_instance, "asked").value, Value("answered"));
    unregisterHandler();
    m_thread->stop();
    EXPECT_THAT(handler.m_log.all(),
                ElementsAre("message " + m_id, "call " + m_id, "unregistered"));
}

TEST_F(TheRuntimesHandler, LaysRepliesOut) {
    BaseHandler handler;
    const auto reply = [&](int code, const Var& value, const std::string& name,
                           const std::string& message) {
        return support::valueOf(handler.createMessage(code, value, name, message).pp_var());
    };
    onMain([&] {
        EXPECT_EQ(reply(0, "1.1", "", ""),
                  (Value::Dictionary{
                      {"code", 0}, {"errorName", ""}, {"errorMessage", ""}, {"value", "1.1"}}));
        EXPECT_EQ(
            reply(-2, Var::Null(), "name", "message"),
            (Value::Dictionary{{"code", -2}, {"errorName", "name"}, {"errorMessage", "message"}}));
        EXPECT_EQ(
            reply(18, Var(), "n", "m"),
            (Value::Dictionary{
                {"code", 18}, {"errorName", "n"}, {"errorMessage", "m"}, {"value", Value()}}));
        EXPECT_EQ(reply(0, false, "", "")["value"], Value(false));
        EXPECT_EQ(reply(0, "", "", "")["value"], Value(""));
        EXPECT_EQ(reply(0, 1.0, "", "")["value"], Value(1.0));
        EXPECT_EQ(reply(0, pp::VarDictionary(), "", "")["value"], Value(Value::Dictionary{}));
    });
}

TEST_F(TheRuntimesHandler, LeavesNothingBehindOfAReply) {
    BaseHandler handler;
    onMain([&] {
        const Var value("value");
        {
            const Var reply = handler.createMessage(0, value, "name", "message");
            EXPECT_TRUE(reply.is_dictionary());
            EXPECT_EQ(references(reply.pp_var()), 1);
            EXPECT_EQ(m_host->moduleHeldVars().size(), 2U) << "the reply and the value";
        }
        EXPECT_EQ(references(value.pp_var()), 1);
    });
    EXPECT_EQ(host::VarTable::instance().liveVarCount(), 0U);
}

}  // namespace
