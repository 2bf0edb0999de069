#include "plugin_test.h"

#include <algorithm>

#include "client_library.h"
#include "free_watch.h"
#include "host/value_json.h"
#include "module_path.h"
#include "runtime/ppb_extension_system_korvane.h"
#include "thread_tools.h"

namespace support {

using host::Value;

PluginTest::PluginTest() {
    m_interfaces[PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1] = RecordingExtension::table();
    sso_api_control_set_held(1);
}

PluginTest::~PluginTest() {
    m_host.reset();
    resetLibrary();  // nothing of this test may reach the next
    forgetWatchedBlocks();
}

void PluginTest::TearDown() {
    if (m_host == nullptr) return;
    for (const PP_Instance instance : m_host->instances()) {
        EXPECT_TRUE(m_host->drain(instance)) << "instance " << instance << " is not idle";
    }
    sso_give_proxy();  // waits for callbacks that run
    expectNothingHeld();
    m_host->unload();
    expectNothingHeld();
    EXPECT_EQ(m_host->liveResources().size(), 0U);
    EXPECT_EQ(watchedBlocks(), 0U) << "texts of the client library were not released";
    EXPECT_THAT(m_host->consoleLines(), ::testing::IsEmpty());
    // All tests of one program rely on it: the next one has to get fresh static data.
    EXPECT_FALSE(m_host->moduleIsLoaded());
}

void PluginTest::expectNothingHeld() {
    EXPECT_THAT(m_host->problems(), ::testing::IsEmpty());
    EXPECT_THAT(m_host->resourceProblems(), ::testing::IsEmpty());
    for (const host::HeldVar& var : m_host->moduleHeldVars()) {
        ADD_FAILURE() << "the idle module holds " << var.preview << " from " << var.origin.call;
    }
}

host::PluginHost& PluginTest::host() {
    if (m_host == nullptr) {
        host::PluginHost::Options options;
        options.modulePath = modulePath();
        options.interfaces = m_interfaces;
        options.attachDelay = m_attachDelay;
        options.onCall = m_recorder.onCall();
        m_host = std::make_unique<host::PluginHost>(std::move(options));
    }
    return *m_host;
}

PP_Instance PluginTest::embed() {
    const auto runs = [](const Event& event) { return event.what == "Run"; };
    const std::vector<Event> before = m_recorder.events(Supplier::Browser);
    const auto running = std::count_if(before.begin(), before.end(), runs);
    const PP_Instance instance = host().embed();
    // Without a registration, draining does not reach the worker.
    EXPECT_TRUE(m_recorder.waitFor(static_cast<std::size_t>(running) + 1, runs));
    EXPECT_TRUE(host().drain(instance));
    return instance;
}

PP_Instance PluginTest::embedWith(unsigned privileges) {
    m_extension.grant(privileges);
    return embed();
}

std::vector<Value> PluginTest::answersTo(PP_Instance instance, const Value& request) {
    takeAnswers();
    host().post(instance, request);
    EXPECT_TRUE(host().drain(instance));
    return takeAnswers();
}

Value PluginTest::answerTo(PP_Instance instance, const Value& request) {
    const std::vector<Value> answers = answersTo(instance, request);
    EXPECT_EQ(answers.size(), 1U) << "answers to " << request;
    return answers.size() == 1 ? answers.front() : Value();
}

Value PluginTest::replyTo(PP_Instance instance, const Value& request) {
    const host::CallResult result = host().call(instance, request);
    EXPECT_EQ(result.status, host::CallResult::Status::Replied) << "to " << request;
    return result.value;
}

std::vector<Value> PluginTest::takeAnswers() {
    std::vector<Value> values;
    for (const host::Message& message : host().takeMessages()) values.push_back(message.value);
    return values;
}

pid_t PluginTest::mainThread() {
    pid_t id = 0;
    host().runOnMain([&] { id = thisThreadId(); });
    return id;
}

Value json(std::string_view text) { return host::parseJson(text); }

Value requestOf(const std::string& command) { return Value::Dictionary{{"command", command}}; }

}  // namespace support
