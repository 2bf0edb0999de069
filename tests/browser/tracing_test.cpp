// Call tracing of the plug-in in the real browser, which loads it in one process and runs it in another.

#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "browser_test.h"
#include "trace_reader.h"

namespace {

using support::TraceReader;

class TracingInTheBrowser : public browser::BrowserTest {
  protected:
    static constexpr char kVisit[] = R"js(
        const plugin = new Embedding();
        const seen = [plugin.call({ command: "sso_plugin_getVersion" })];
        for (const message of [{ command: "sso_plugin_createAccount" }, 7,
                               { command: "sso_plugin_show_login_page", data: "x" }]) {
            seen.push(await plugin.ask(message));
        }
    )js";

    Json visit(const std::string& traceFile = "") {
        support::ProcessOptions options;
        options.environment.push_back("HT_TRACE=" + traceFile);
        return runScript(kVisit + std::string("return seen;"), {"--grant", "partner"}, options);
    }
};

TEST_F(TracingInTheBrowser, HasOneFileAndChangesNothing) {
    const support::TemporaryFolder folder;
    const Json without = visit();
    const Json with = visit(folder.path("trace.json"));
    EXPECT_EQ(with, without);
    EXPECT_EQ(with.size(), 4U);

    std::set<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
        files.insert(entry.path().filename());
    }
    EXPECT_EQ(files, std::set<std::string>{"trace.json"}) << "one process only runs the plug-in";

    const TraceReader trace(folder.path("trace.json"));
    const std::string name = "CPluginSSOMessageHandler::";
    EXPECT_EQ(trace.count(name + "CPluginSSOMessageHandler"), 1U);
    EXPECT_EQ(trace.count(name + "HandleBlockingMessageImpl"), 1U);
    EXPECT_EQ(trace.count(name + "HandleMessageImpl"), 3U);
    EXPECT_EQ(trace.count(name + "m_ShowSSOLoginCallBack"), 1U);
    EXPECT_EQ(trace.count(name + "m_ShowCreateAccountCallBack"), 1U);
    EXPECT_EQ(trace.count(name + "m_ResponseData"), 3U);
    EXPECT_THAT(trace.threadNames(), ::testing::IsSupersetOf({"qpp.sso", "sso-api"}));
    EXPECT_EQ(trace.threads().size(), 3U);  // main, worker, client library
    trace.expectProperNesting();
}

using Lines = std::vector<std::string>;

/// The lines of the plug-in's log, as "file: function(line) > text": those of each thread in their
/// order. What the threads do at the same time is in no order. Handlers that die as the browser ends are
/// left out: its plug-in's process may end before they do.
std::multiset<Lines> logLines(const std::string& errors) {
    static const std::regex line(R"(\( *\d+: *(\d+)\) \[\w+\] (\w+: ~?\w+\(\d+\) > .*))");
    static const std::regex address("0x[0-9a-f]+");
    std::map<std::string, Lines> lines;
    for (std::sregex_iterator match(errors.begin(), errors.end(), line), end; match != end;
         ++match) {
        lines[(*match)[1]].push_back(std::regex_replace((*match)[2].str(), address, "address"));
    }
    std::multiset<Lines> byThread;
    for (auto& [thread, itsLines] : lines) {
        while (!itsLines.empty() &&
               itsLines.back().find("~CPluginSSOMessageHandler") != std::string::npos) {
            itsLines.pop_back();
        }
        byThread.insert(std::move(itsLines));
    }
    return byThread;
}

TEST_F(TracingInTheBrowser, ChangesNoLineOfTheLog) {
    // The first one dies while others keep its process.
    const std::string script = m_folder.write("visit.js", kVisit + std::string(R"js(
        new Embedding();
        plugin.remove();
        new Embedding().call({ command: "sso_plugin_getVersion" });
    )js"));
    const auto log = [&](const std::string& traceFile) {
        support::ProcessOptions options;
        options.environment.push_back("HT_TRACE=" + traceFile);
        const auto result = runBrowser({SSO_TEST_PAGE, "--grant", "partner", "--log",
                                        "--run-script", script, "--quit-after", "0.5"},
                                       options);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return logLines(result.errors);
    };
    const std::multiset<Lines> without = log("");
    EXPECT_EQ(without.size(), 4U);  // main, two workers, client library
    EXPECT_THAT(without, ::testing::Contains(::testing::Contains(
                             "PluginSSOMessageHandle: ~CPluginSSOMessageHandler(48) > "
                             "Destructor called end")));
    EXPECT_THAT(without, ::testing::Contains(::testing::IsSupersetOf(
                             {"PluginSSOMessageHandle: HandleBlockingMessageImpl(285) > "
                              "NDL-HT running : HandleBlockingMessageImpl",
                              "PluginSSOMessageHandle: HandleBlockingMessageImpl(287) > "
                              "NDL-HT done",
                              "PluginSSOMessageHandle: HandleMessageImpl(156) > "
                              "NDL-HTm_ShowSSOLoginCallBack done"})));
    EXPECT_EQ(log(m_folder.path("trace.json")), without);
}

}  // namespace
