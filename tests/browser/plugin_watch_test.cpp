// What the browser tells of the plug-in: refusals, messages, the end of its process.

#include <signal.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "browser_test.h"
#include "module_path.h"
#include "process_figures.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class TheWatchedPlugin : public browser::BrowserTest {
  protected:
    support::ProcessResult run(const std::string& script, const Arguments& more = {},
                               const support::ProcessOptions& options = {}) {
        Arguments arguments = {SSO_TEST_PAGE, "--grant", "partner", "--run-script",
                               m_folder.write("script.js", script)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runBrowser(arguments, options);
    }
};

TEST_F(TheWatchedPlugin, HasEachRefusalExplainedOnce) {
    const auto result = run(R"js(
        const plugin = new Embedding();
        for (let i = 0; i < 2; ++i) {
            plugin.call({ command: "sso_plugin_getSSOState" });
            await plugin.ask({ command: "sso_plugin_getversion" });
        }
        plugin.call({ command: "sso_plugin_getVersion" });
    )js");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(
        result.errorLines(),
        ElementsAre("sso-browser: sso_plugin_getSSOState was refused: the application lacks "
                    "the privilege sso.platform; its manifest grants it by \"privileges\": "
                    "[\"sso.platform\"], the command line by --grant sso.platform",
                    "sso-browser: \"sso_plugin_getversion\" was refused: the plug-in has no "
                    "such command; did you mean \"sso_plugin_getVersion\"?"));
}

TEST_F(TheWatchedPlugin, FailsAStrictRunWhenItRefusesARequest) {
    const std::string refused = R"js(
        const plugin = new Embedding();
        plugin.call({ command: "sso_plugin_getSSOState" });
    )js";
    const auto one = run(refused, {"--strict"});
    EXPECT_EQ(one.exitCode, 4);
    EXPECT_EQ(one.errorLines().back(), "sso-browser: --strict: 1 request was refused");
    const auto two =
        run(refused + R"js(await plugin.ask({ command: "no such" });)js", {"--strict"});
    EXPECT_EQ(two.exitCode, 4);
    EXPECT_EQ(two.errorLines().back(), "sso-browser: --strict: 2 requests were refused");
    EXPECT_EQ(run(refused, {"--strict", "--grant", "platform"}).exitCode, 0);
}

TEST_F(TheWatchedPlugin, HasItsMessagesWritten) {
    const std::string file = m_folder.path("messages.jsonl");
    const auto result = run(R"js(
        const plugin = new Embedding();
        plugin.call({ command: "sso_plugin_getVersion", more: [undefined, NaN, 1.5, null, true] });
        await plugin.ask({ command: "sso_plugin_show_login_page", data: "\u00e4" });
        await plugin.ask(new ArrayBuffer(2));
    )js",
                            {"--messages", file});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    std::vector<Json> lines;
    std::set<Json> instances;
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(Json::parse(line));
        EXPECT_THAT(lines.back()["time"].get<std::string>(), ::testing::EndsWith("Z"));
        instances.insert(lines.back()["instance"]);
        EXPECT_EQ(lines.back().contains("milliseconds"), lines.back().contains("answer"));
        for (const char* varying : {"time", "instance", "milliseconds"}) {
            lines.back().erase(varying);
        }
    }
    const std::string version = "sso_plugin_getVersion";
    const std::string login = "sso_plugin_show_login_page";
    const Json more = {
        {{"$type", "undefined"}}, {{"$type", "double"}, {"value", "NaN"}}, 1.5, nullptr, true};
    ASSERT_THAT(lines, SizeIs(6));
    EXPECT_THAT(instances, ElementsAre(1));
    EXPECT_EQ(lines[0],
              (Json{{"path", "blocking"}, {"request", {{"command", version}, {"more", more}}}}));
    EXPECT_EQ(lines[1]["answer"]["value"], "1.1");
    EXPECT_EQ(lines[1]["command"], version);
    EXPECT_EQ(lines[2],
              (Json{{"path", "async"}, {"request", {{"command", login}, {"data", "\u00e4"}}}}));
    EXPECT_EQ(lines[3], (Json{{"path", "async"},
                              {"answer", {{"command", login}, {"status", 0}, {"state", 2}}},
                              {"command", login}}));
    EXPECT_EQ(lines[4]["request"], (Json{{"$type", "arraybuffer"}, {"bytes", {0, 0}}}));
    EXPECT_EQ(lines[5]["answer"]["errorName"], "paramInvaild");
}

TEST_F(TheWatchedPlugin, IsRecordedWithPseudonymsForTheHostToReplay) {
    const std::string file = m_folder.path("field.jsonl");
    const std::string account = m_folder.write("account.json", R"({
        "account": {"loginId": "plant@x.example", "uid": "plant-1", "guid": "plant-2", "authToken": "plant-3"},
        "clients": [{"id": "plant-4", "secret": "plant-5", "token": "plant-6"}],
        "mappings": [{"appID": "plant-7", "cpName": "plant-8", "cpUID": "plant-9"}],
        "popups": {"login": {"delayMs": 30000}}
    })");
    const auto result =
        run(R"js(
        const plugin = new Embedding();
        const other = new Embedding();
        plugin.call({ command: "sso_plugin_getSSOState" });
        const token = { command: "sso_plugin_getZEVAccessToken", id: "plant-4", secret: "plant-5" };
        await plugin.ask(token);
        other.call({ command: "sso_plugin_getLoginUid" });
        await other.ask({ command: "sso_plugin_getPartnerAccountMappingList", appID: "plant-7" });
        await plugin.ask({ command: "sso_plugin_getZEVAccessToken", id: 4711, plant: "plant" });
        const third = new Embedding();
        third.post({ command: "sso_plugin_show_login_page", data: "plant" });
        third.call({ command: "sso_plugin_getVersion" });
        third.remove();  // and with it the answer that it owes
        await new Promise(done => setTimeout(done, 500));
    )js",
            {"--messages", file, "--pseudonyms", "--account", account, "--grant", "platform"});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    const std::string text = m_folder.read("field.jsonl");
    EXPECT_THAT(text, HasSubstr(R"("value":"loginId-1?token-1?uid-1?guid-1")"));
    EXPECT_THAT(text, HasSubstr(R"("id":"id-1","secret":"secret-1")"));
    EXPECT_THAT(text, HasSubstr(R"("token":"token-2")"));
    EXPECT_THAT(text, HasSubstr(R"("value":"uid-1")"));
    EXPECT_THAT(text, HasSubstr(R"([{\"appID\":\"appID-1\",\"cpName\":\"cpName-1\",)"
                                R"(\"cpUID\":\"cpUID-1\"}])"));
    EXPECT_THAT(text, HasSubstr(R"("instance":3,"gone":true,"pseudonyms":true})"));
    EXPECT_THAT(text, ::testing::Not(HasSubstr("plant")));
    EXPECT_THAT(text, ::testing::Not(HasSubstr("4711")));
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));

    const std::string now = m_folder.write("now.json", R"({
        "account": {"loginId": "a@b.example", "uid": "a", "guid": "b", "authToken": "c"},
        "clients": [{"id": "id-1", "secret": "secret-1", "token": "d"}],
        "mappings": [{"appID": "appID-1", "cpName": "e", "cpUID": "f"}]
    })");
    const auto replay = support::runProcess({support::builtPath("bin/sso-host"), "--account", now,
                                             "--grant", "partner,platform", "--replay", file});
    EXPECT_EQ(replay.output, file + ": the same: 7 requests, 6 answers\n");
    EXPECT_EQ(replay.exitCode, 0) << replay.errors;
}

TEST_F(TheWatchedPlugin, IsAskedWhatItOwesWhenItMatters) {
    const std::string posting = R"js(
        const plugin = new Embedding();
        plugin.call({ command: "sso_plugin_getVersion" });
        setInterval(() => plugin.post({ command: "sso_plugin_show_login_page", data: "x" }), 20);
        await new Promise(done => setTimeout(done, 50));
    )js";
    // A login page is shown for longer than the time between two, so there is always one.
    const auto strict = run(posting, {"--strict"});
    EXPECT_EQ(strict.exitCode, 4);
    EXPECT_THAT(strict.errors, HasSubstr(" without an answer (sso_plugin_show_login_page"));
    const auto late = run(posting + "await new Promise(() => 0);", {"--timeout", "8"});
    EXPECT_EQ(late.exitCode, 3);
    EXPECT_THAT(late.errors, HasSubstr("the end of the script script.js; answers to "
                                       "sso_plugin_show_login_page"));
}

TEST_F(TheWatchedPlugin, IsMissedWhenItsProcessEnds) {
    for (const auto& [number, words] : std::vector<std::pair<int, std::string>>{
             {SIGSEGV, "signal 11, SIGSEGV"}, {SIGKILL, "killed, or left without a word"}}) {
        bool killed = false;
        support::ProcessOptions options;
        options.onOutput = [&, signal = number](pid_t browser, const std::string& output) {
            if (killed || output.find("console.log: ready\n") == std::string::npos) return;
            killed = true;
            for (const pid_t process : browser::pluginProcessesOf(browser, support::modulePath())) {
                kill(process, signal);
            }
        };
        const auto result = run(R"js(
            let plugin = new Embedding();
            const version = () => plugin.call({ command: "sso_plugin_getVersion" });
            version();
            console.log("ready");
            while (!version().thrown) await new Promise(done => setTimeout(done, 20));
            plugin.post({ command: "sso_plugin_show_login_page", data: "x" });
            await new Promise(done => setTimeout(done, 300));
            const left = plugin.messages.length;
            plugin.remove();
            plugin = new Embedding();
            return [left, version().value];
        )js",
                                {"--strict"}, options);
        EXPECT_EQ(result.exitCode, 4) << result.output;
        EXPECT_EQ(result.outputLines().back(), "result: [0,\"1.1\"]");
        EXPECT_THAT(
            result.errorLines(),
            ElementsAre("sso-browser: the plug-in's process has ended: " + words +
                            "; nothing was under way; its elements work again when they have been "
                            "removed and added",
                        "sso-browser: --strict: the plug-in's process ended"));
    }
}

TEST_F(TheWatchedPlugin, IsMissedWhenItEndsItsProcessItself) {
    const std::string script = m_folder.write("script.js", R"js(
        const plugin = new Embedding();
        plugin.post({ command: "sso_plugin_show_login_page", data: "x" });
        const { thrown } = plugin.call({ command: "sso_plugin_getVersion" });
        await new Promise(done => setTimeout(done, 300));
        return Boolean(thrown);
    )js");
    for (const auto& [way, words] :
         {std::pair("exit", "exit code 0"), std::pair("_exit", "killed, or left without a word"),
          std::pair("exit_group", "killed, or left without a word")}) {
        SCOPED_TRACE(way);
        support::ProcessOptions options;
        options.environment = {
            "DISPLAY=", "WAYLAND_DISPLAY=", "SSO_FAULTY_MODULE=" + support::modulePath(),
            std::string("SSO_FAULT=") + way + " HandleBlockingMessage"};
        const auto result = support::runProcess(
            {support::builtPath("bin/sso-browser"), "--module",
             support::builtPath("lib/libfaulty_module.so"), SSO_TEST_PAGE, "--grant", "partner",
             "--run-script", script, "--strict", "--account", m_folder.write("nobody.json", "{}")},
            options);
        EXPECT_EQ(result.exitCode, 4);
        EXPECT_EQ(result.output, "result: true\n");
        EXPECT_THAT(
            result.errorLines(),
            ElementsAre(std::string("sso-browser: the plug-in's process has ended: ") + words +
                            "; lost: sso_plugin_show_login_page, sso_plugin_getVersion; "
                            "its elements work again when they have been removed and added",
                        "sso-browser: --strict: the plug-in's process ended"));
    }
}

}  // namespace
