// The message handler's own functions, where a page's messages alone do not reach every case.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "dlog_control.h"
#include "fake_extension.h"
#include "handler_probe.h"
#include "host/browser_interfaces.h"
#include "host/plugin_host.h"
#include "loaded_probe.h"
#include "ppapi/c/ppb_message_loop.h"
#include "thread_tools.h"

namespace {

using host::Value;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kTimeout = std::chrono::seconds(10);
constexpr char kGreen[] = "\033[0;32m";
constexpr char kYellow[] = "\033[0;33m";
constexpr char kRed[] = "\033[0;31m";

class LoadedHandlerProbe : public LoadedModule {
  public:
    explicit LoadedHandlerProbe(const void* extension)
        : LoadedModule("libhandler_probe.so", "handlerProbes", extension, {}) {}

    const HandlerProbes* operator->() const {
        return static_cast<const HandlerProbes*>(exported());
    }
};

/// A log line as tests write it: "<buffer> <priority> <tag> <text>".
std::string line(int buffer, int priority, const std::string& function, int number,
                 const std::string& colour, const std::string& text) {
    return std::to_string(buffer) + " " + std::to_string(priority) +
           " QPP_BASE PluginSSOMessageHandle: " + function + "(" + std::to_string(number) + ") > " +
           colour + text + "\033[0;m";
}

class AHandler : public ::testing::Test {
  protected:
    AHandler() : m_probe(m_fake.table()) {
        m_fake.m_result = true;
        dlog_control_set_sink(&AHandler::keep, this);
        m_page = m_probe.host().embed();
        m_probe.host().drain(m_page);
        m_probe.host().takeMessages();
    }
    ~AHandler() override {
        m_handler.reset();
        m_probe.host().unload();  // ends the worker, which may still be at its last message
        EXPECT_THAT(m_probe.host().problems(), IsEmpty());
        EXPECT_THAT(m_probe.host().moduleHeldVars(), IsEmpty());
        dlog_control_set_sink(nullptr, nullptr);
    }

    /// Makes a handler, on the page's instance or on another number, and forgets its log.
    HandlerProbe& handler(PP_Instance instance) {
        m_handler = m_probe->makeHandler(instance);
        takeLog();
        return *m_handler;
    }

    std::vector<Value> posted() {
        std::vector<Value> values;
        m_probe.host().drain(m_page);
        for (const host::Message& message : m_probe.host().takeMessages()) {
            EXPECT_EQ(message.instance, m_page);
            values.push_back(message.value);
        }
        return values;
    }

    /// Vars for respond(), released after it.
    std::vector<Value> respondWith(const std::vector<std::string>* keys,
                                   const std::vector<Value>& values, int count) {
        std::vector<PP_Var> vars;
        for (const Value& value : values) {
            vars.push_back(moduleVar(value));
        }
        handler(m_page).respond("command", -1, "name", "message", keys, vars, count);
        for (const PP_Var& var : vars) {
            takeValue(var);
        }
        return posted();
    }

    /// The lines since the last call. Library and handler threads log too.
    std::vector<std::string> takeLog() {
        const std::lock_guard lock(m_logMutex);
        return std::exchange(m_log, {});
    }

    FakeExtension m_fake;
    LoadedHandlerProbe m_probe;
    PP_Instance m_page = 0;
    std::unique_ptr<HandlerProbe> m_handler;

  private:
    static void keep(const DlogRecord* record, void* user) {
        auto& self = *static_cast<AHandler*>(user);
        const std::lock_guard lock(self.m_logMutex);
        self.m_log.push_back(std::to_string(record->buffer) + " " +
                             std::to_string(record->priority) + " " + record->tag + " " +
                             record->text);
    }

    std::mutex m_logMutex;
    std::vector<std::string> m_log;
};

TEST_F(AHandler, PostsAnAnswerWithEveryPart) {
    handler(m_page).respond("command", 18, "name", "message", nullptr, {moduleVar(Value::Null{})},
                            1);
    EXPECT_THAT(posted(), ElementsAre(Value(Value::Dictionary{{"command", "command"},
                                                              {"status", 18},
                                                              {"errorName", "name"},
                                                              {"errorMessage", "message"}})));
    EXPECT_THAT(
        takeLog(),
        ElementsAre(line(0, 4, "m_ResponseData", 56, kYellow, "START"),
                    line(0, 5, "m_ResponseData", 57, kGreen, "NDL-HT running : m_ResponseData"),
                    line(0, 5, "m_ResponseData", 59, kGreen, "NDL-HT done"),
                    line(0, 4, "m_ResponseData", 64, kYellow,
                         "responseData START, command [command], status [18], errorName [name], "
                         "errorMessage [message], data length [1]"),
                    line(0, 5, "m_ResponseData", 94, kGreen, "send message to web app"),
                    line(0, 4, "m_ResponseData", 102, kYellow, "m_ResponseData END")));
}

TEST_F(AHandler, LeavesEmptyTextsOut) {
    handler(m_page).respond("", 0, "", "", nullptr, {}, 0);
    EXPECT_THAT(posted(), ElementsAre(Value(Value::Dictionary{{"status", 0}})));
    EXPECT_THAT(takeLog(), ::testing::Contains(
                               line(0, 4, "m_ResponseData", 64, kYellow,
                                    "responseData START, command [], status [0], errorName [], "
                                    "errorMessage [], data length [0]")));
}

TEST_F(AHandler, LeavesEachEmptyTextOutOnItsOwn) {
    handler(m_page).respond("command", 1, "", "", nullptr, {}, 0);
    m_handler->respond("", 2, "name", "", nullptr, {}, 0);
    m_handler->respond("", 3, "", "message", nullptr, {}, 0);
    EXPECT_THAT(posted(),
                ElementsAre(Value(Value::Dictionary{{"status", 1}, {"command", "command"}}),
                            Value(Value::Dictionary{{"status", 2}, {"errorName", "name"}}),
                            Value(Value::Dictionary{{"status", 3}, {"errorMessage", "message"}})));
}

TEST_F(AHandler, ReadsNoKeyOfANullEntry) {
    EXPECT_THAT(respondWith(nullptr, {Value::Null{}, Value::Null{}}, 2),
                ElementsAre(Value(Value::Dictionary{{"command", "command"},
                                                    {"status", -1},
                                                    {"errorName", "name"},
                                                    {"errorMessage", "message"}})));
}

TEST_F(AHandler, SetsEveryEntryThatIsNotNull) {
    const std::vector<std::string> keys = {"undefined", "null",  "bool",       "int", "double",
                                           "string",    "array", "dictionary", "",    "buffer"};
    EXPECT_THAT(respondWith(&keys,
                            {Value(), Value::Null{}, true, 7, 0.5, "text", Value::Array{1},
                             Value::Dictionary{{"a", 1}}, "empty key", Value::Buffer{9}},
                            10),
                ElementsAre(Value(Value::Dictionary{{"command", "command"},
                                                    {"status", -1},
                                                    {"errorName", "name"},
                                                    {"errorMessage", "message"},
                                                    {"undefined", Value()},
                                                    {"bool", true},
                                                    {"int", 7},
                                                    {"double", 0.5},
                                                    {"string", "text"},
                                                    {"array", Value::Array{1}},
                                                    {"dictionary", Value::Dictionary{{"a", 1}}},
                                                    {"", "empty key"},
                                                    {"buffer", Value::Buffer{9}}})));
}

TEST_F(AHandler, LetsTheLastOfEqualKeysWin) {
    const std::vector<std::string> keys = {"key", "key", "status"};
    EXPECT_THAT(respondWith(&keys, {1, 2, 3}, 3),
                ElementsAre(Value(Value::Dictionary{{"command", "command"},
                                                    {"status", 3},
                                                    {"errorName", "name"},
                                                    {"errorMessage", "message"},
                                                    {"key", 2}})));
}

TEST_F(AHandler, ReadsNoEntryBeyondTheCount) {
    const std::vector<std::string> keys = {"one", "two"};
    for (const int count : {0, -1}) {
        EXPECT_THAT(respondWith(&keys, {1, 2}, count),
                    ElementsAre(Value(Value::Dictionary{{"command", "command"},
                                                        {"status", -1},
                                                        {"errorName", "name"},
                                                        {"errorMessage", "message"}})));
    }
    EXPECT_EQ(respondWith(&keys, {1, 2}, 1).at(0)["two"], Value());
}

TEST_F(AHandler, OfInstanceNumberZeroPostsNothing) {
    handler(0).respond("command", 0, "", "", nullptr, {}, 0);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_THAT(
        takeLog(),
        ElementsAre(line(0, 4, "m_ResponseData", 56, kYellow, "START"),
                    line(0, 5, "m_ResponseData", 57, kGreen, "NDL-HT running : m_ResponseData"),
                    line(0, 5, "m_ResponseData", 59, kGreen, "NDL-HT done"),
                    line(0, 4, "m_ResponseData", 64, kYellow,
                         "responseData START, command [command], status [0], errorName [], "
                         "errorMessage [], data length [0]"),
                    line(2, 5, "m_ResponseData", 97, kRed,
                         "m_poInstance->pp_instance() is null didn't called PostMessage"),
                    line(0, 4, "m_ResponseData", 102, kYellow, "m_ResponseData END")));
}

TEST_F(AHandler, RegistersOnTheLoopOfTheCallingThread) {
    handler(m_page);
    const size_t before = m_probe.host().registrations().size();
    // The main thread's loop is refused: a browser takes no handler there.
    m_probe.host().runOnMain([&] { m_handler->registerOnThisThread(); });
    const auto registrations = m_probe.host().registrations();
    ASSERT_EQ(registrations.size(), before + 1);
    EXPECT_EQ(registrations.back().instance, m_page);
    EXPECT_EQ(registrations.back().result, -52);
    EXPECT_NE(registrations.back().loop, 0);
    EXPECT_THAT(
        takeLog(),
        ElementsAre(line(0, 5, "Register", 376, kGreen, "NDL-HT running : Register"),
                    line(0, 5, "Register", 378, kGreen, "NDL-HT done"),
                    line(0, 5, "Register", 379, kGreen, "Error while registering MessageHandler")));
}

TEST_F(AHandler, TellsTheInstanceThatItIsToldToHaveLeft) {
    const PP_Instance other = m_probe.host().embed();
    m_probe.host().drain(other);
    handler(m_page).wasUnregistered(other);
    m_probe.host().drain(other);
    const std::vector<host::Message> messages = m_probe.host().takeMessages();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].instance, other);
    EXPECT_EQ(messages[0].value, Value("Unregister"));
    EXPECT_THAT(
        takeLog(),
        ElementsAre(line(0, 5, "WasUnregistered", 385, kGreen, "WasUnregistered"),
                    line(0, 5, "WasUnregistered", 386, kGreen, "NDL-HT running : WasUnregistered"),
                    line(0, 5, "WasUnregistered", 388, kGreen, "NDL-HT done")));
}

TEST_F(AHandler, OnceRegisteredAnswersOnThatThread) {
    const auto* loops = static_cast<const PPB_MessageLoop_1_0*>(
        host::browserInterface(PPB_MESSAGELOOP_INTERFACE_1_0));
    handler(m_page);
    PP_Resource loop = 0;
    pid_t thread = 0;
    std::promise<void> registered;
    std::thread worker([&] {
        loop = loops->Create(m_page);
        loops->AttachToCurrentThread(loop);
        m_handler->registerOnThisThread();
        thread = support::thisThreadId();
        registered.set_value();
        loops->Run(loop);
    });
    registered.get_future().wait();
    const auto registration = m_probe.host().registrations().back();
    EXPECT_EQ(registration.instance, m_page);
    EXPECT_EQ(registration.loop, loop);
    EXPECT_EQ(registration.result, 0);
    EXPECT_THAT(takeLog(),
                ::testing::Not(::testing::Contains(::testing::HasSubstr("Error while"))));

    // The handler that this one replaced says goodbye on its own thread; that may come first or last.
    m_probe.host().post(m_page, Value("no dictionary"));
    ASSERT_TRUE(m_probe.host().waitForMessages(2, kTimeout));
    for (const host::Message& message : m_probe.host().takeMessages()) {
        if (message.value != Value("Unregister")) {
            EXPECT_EQ(message.value["errorName"], Value("paramInvaild"));
            EXPECT_EQ(message.threadId, thread);
        }
    }
    m_probe.host().unregister(m_page);
    ASSERT_TRUE(m_probe.host().waitForMessages(1, kTimeout));
    const auto goodbye = m_probe.host().takeMessages();
    EXPECT_EQ(goodbye[0].value, Value("Unregister"));
    EXPECT_EQ(goodbye[0].threadId, thread);
    loops->PostQuit(loop, PP_TRUE);
    worker.join();
}

TEST_F(AHandler, WithoutALoopOnTheThreadIsNotRegistered) {
    handler(m_page);
    m_handler->registerOnThisThread();
    EXPECT_EQ(m_probe.host().registrations().back().loop, 0);
    EXPECT_EQ(m_probe.host().registrations().back().result, -5);
    EXPECT_THAT(
        takeLog(),
        ElementsAre(line(0, 5, "Register", 376, kGreen, "NDL-HT running : Register"),
                    line(0, 5, "Register", 378, kGreen, "NDL-HT done"),
                    line(0, 5, "Register", 379, kGreen, "Error while registering MessageHandler")));
}

// Success is PP_OK alone; what a browser returns beside it is a failure, above zero, too.
TEST_F(AHandler, WithAPositiveResultIsNotRegistered) {
    handler(m_page);
    m_probe.host().failNextRegistration(1);
    m_handler->registerOnThisThread();
    EXPECT_EQ(m_probe.host().registrations().back().result, 1);
    EXPECT_THAT(
        takeLog(),
        ElementsAre(line(0, 5, "Register", 376, kGreen, "NDL-HT running : Register"),
                    line(0, 5, "Register", 378, kGreen, "NDL-HT done"),
                    line(0, 5, "Register", 379, kGreen, "Error while registering MessageHandler")));
}

TEST_F(AHandler, IsRegisteredByTheThreadFunctionToo) {
    const size_t before = m_probe.host().registrations().size();
    takeLog();
    m_probe.host().runOnMain([&] { m_probe->callThreadFunction(m_page); });
    ASSERT_EQ(m_probe.host().registrations().size(), before + 1);
    EXPECT_EQ(m_probe.host().registrations().back().instance, m_page);
    EXPECT_THAT(
        takeLog(),
        ElementsAre(line(0, 5, "Register", 376, kGreen, "NDL-HT running : Register"),
                    line(0, 5, "Register", 378, kGreen, "NDL-HT done"),
                    line(0, 5, "Register", 379, kGreen, "Error while registering MessageHandler")));
}

TEST_F(AHandler, WithoutAnInstanceStopsTheProcessAfterItsQuestions) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    dlog_control_set_sink(nullptr, nullptr);
    EXPECT_DEATH(m_probe->makeHandlerWithoutInstance(),
                 "m_bPrivilegePartner \\[1\\], SSO_PRIVILEGE_PLATFORM \\[1\\], "
                 "SSO_PRIVILEGE_PUBLIC \\[1\\], instance \\[\\(nil\\)\\][^\n]*\n"
                 "[^\n]*Assertion `instance' failed");
}

}  // namespace
