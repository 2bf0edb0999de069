// Call tracing of the plug-in in the host's program, as a person would turn it on.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "module_path.h"
#include "process.h"
#include "sanitizer.h"
#include "temporary_folder.h"
#include "trace_reader.h"

namespace {

using support::ProcessResult;
using support::TraceReader;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kClass[] = "CPluginSSOMessageHandler::";

class ATracedProgram : public ::testing::Test {
  protected:
    /// Runs the program with tracing to `traceFile`.
    ProcessResult run(const std::string& input, const std::string& traceFile,
                      support::ProcessOptions options = {}) {
        options.input = input;
        options.environment.push_back("HT_TRACE=" + traceFile);
        options.timeout = std::chrono::seconds(110);  // with a sanitizer, and many tests at once
        return support::runProcess({support::builtPath("bin/sso-host"), "--module",
                                    support::modulePath(), "--grant", "partner"},
                                   options);
    }

    support::TemporaryFolder m_folder;
    const std::string m_file = m_folder.path("trace.json");
};

const std::string kCall = R"({"call":{"command":"sso_plugin_getVersion"},"instance":)";
const std::string kPost = R"({"post":{"command":"sso_plugin_show_login_page"},"instance":)";

TEST_F(ATracedProgram, RecordsManyMessagesOnFourInstances) {
    constexpr std::size_t kInstances = 4;
    // Of a call and a post on each instance: ten thousand messages, a tenth where each takes ten times as long.
    constexpr std::size_t kRounds = SSO_SANITIZED != 0 ? 125 : 1250;
    std::string input;
    for (std::size_t i = 1; i < kInstances; ++i) input += "{\"embed\":true}\n";
    for (std::size_t round = 0; round < kRounds; ++round) {
        for (std::size_t i = 1; i <= kInstances; ++i) {
            input += kPost + std::to_string(i) + "}\n";
            input += kCall + std::to_string(i) + "}\n";
        }
    }
    const ProcessResult result = run(input, m_file);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errorLines(), IsEmpty());

    const TraceReader trace(m_file);
    const std::string name = kClass;
    EXPECT_EQ(trace.count(name + "HandleBlockingMessageImpl"), kRounds * kInstances);
    EXPECT_EQ(trace.count(name + "HandleMessageImpl"), kRounds * kInstances);
    EXPECT_EQ(trace.count(name + "m_CheckPrivilege"), 2 * kRounds * kInstances);
    EXPECT_EQ(trace.count(name + "m_ResponseData"), kRounds * kInstances);
    EXPECT_EQ(trace.count(name + "CPluginSSOMessageHandler"), kInstances);
    EXPECT_EQ(trace.count(name + "~CPluginSSOMessageHandler"), kInstances);
    EXPECT_EQ(trace.calls().size(), 5 * kRounds * kInstances + 2 * kInstances);
    EXPECT_EQ(trace.threads().size(), kInstances + 1);
    EXPECT_THAT(trace.threadNames(), ::testing::Contains("qpp.sso"));
    trace.expectProperNesting();
}

TEST_F(ATracedProgram, RecordsWhatWasStored) {
    const ProcessResult result = run(R"({"post":{"command":"sso_plugin_createAccount"}})"
                                     "\n{\"wait\":1}\n",
                                     m_file);
    EXPECT_EQ(result.exitCode, 0);
    const TraceReader trace(m_file);
    std::vector<std::vector<std::string>> texts;
    for (const TraceReader::Call& call : trace.calls()) {
        if (call.name == std::string(kClass) + "HandleMessageImpl") {
            texts.push_back(call.args.at("texts").get<std::vector<std::string>>());
            EXPECT_EQ(call.args.at("line"), 108);
            EXPECT_EQ(call.args.at("file"),
                      "src/pepper-plugin/sso-plugin/PluginSSOMessageHandle.cpp");
        }
    }
    // A name is formatted at the end of its call, what follows it at once.
    EXPECT_THAT(texts,
                ElementsAre(ElementsAre("m_ShowCreateAccountCallBack done", "HandleMessageImpl")));
    EXPECT_EQ(trace.count(std::string(kClass) + "m_ShowCreateAccountCallBack"), 1U);
}

TEST_F(ATracedProgram, LeavesAWholeFileWhenItIsEnded) {
    std::string input;
    for (int i = 0; i < 20000; ++i) input += kCall + "1}\n";
    for (const int signal : {SIGTERM, SIGKILL}) {
        SCOPED_TRACE(signal);
        std::filesystem::remove(m_file);
        support::ProcessOptions options;
        bool ended = false;
        options.onOutput = [&](pid_t process, const std::string& output) {
            if (ended || output.size() < 20000) return;
            ended = true;
            kill(process, signal);
        };
        const ProcessResult result = run(input, m_file, options);
        EXPECT_EQ(result.signal, signal);
        const TraceReader trace(m_file);
        EXPECT_GT(trace.count(std::string(kClass) + "HandleBlockingMessageImpl"), 50U);
        trace.expectProperNesting();
    }
}

TEST_F(ATracedProgram, GoesOnWhenTheFileCannotBeWritten) {
    for (const std::string& file :
         {m_folder.path("no/such/trace.json"), std::string("/dev/full")}) {
        SCOPED_TRACE(file);
        const ProcessResult result = run(kCall + "1}\n" + kCall + "1}\n", file);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.outputLines().size(), 2U);
        EXPECT_THAT(result.errorLines(), ElementsAre(::testing::HasSubstr(file)));
    }
}

}  // namespace
