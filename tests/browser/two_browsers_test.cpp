// Two browsers at once, with the same application.

#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <future>
#include <string>
#include <vector>

#include "browser_test.h"
#include "module_path.h"
#include "process_file.h"

namespace {

using ::testing::ElementsAre;

using TwoBrowsers = browser::BrowserTest;

#ifdef SSO_SERVICE
/// The bus that was configured below a folder.
pid_t busBelow(const std::string& folder) {
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
        const std::string command = support::processFile(process.path() / "cmdline");
        if (command.rfind("dbus-daemon", 0) == 0 && command.find(folder) != std::string::npos) {
            return std::stoi(process.path().filename());
        }
    }
    return 0;
}
#endif

TEST_F(TwoBrowsers, HaveTheSameOriginAndEachItsOwnStorage) {
    const std::string app = m_folder.path("app");
    std::filesystem::copy(SSO_TEST_PAGE, app);
    m_folder.write("app/other", "runs");
    const auto with = [&](const std::string& script) {
        return Arguments{app, "--grant", "partner", "--run-script", script};
    };
    const std::string inner = m_folder.write("inner.js", R"js(
        const before = [localStorage.who, document.cookie];
        localStorage.who = "inner";
        document.cookie = "who=inner";
        const version = new Embedding().call({ command: "sso_plugin_getVersion" }).value;
        return [location.origin, ...before, version];
    )js");
    const std::string outer = m_folder.write("outer.js", R"js(
        localStorage.who = "outer";
        document.cookie = "who=outer";
        const plugin = new Embedding();
        plugin.call({ command: "sso_plugin_getVersion" });
        console.log("stored");
        while (await (await fetch("other")).text() !== "is done") await null;
        const version = plugin.call({ command: "sso_plugin_getVersion" }).value;
        return [location.origin, localStorage.who, document.cookie, version];
    )js");
    support::ProcessResult second;
    support::ProcessOptions options;
    options.onOutput = [&](pid_t, const std::string& output) {
        if (output != "console.log: stored\n") return;
        second = runBrowser(with(inner));
        m_folder.write("app/other", "is done");
    };
    const auto first = runBrowser(with(outer), options);
    EXPECT_EQ(first.exitCode, 0) << first.errors;
    EXPECT_EQ(second.exitCode, 0) << second.errors;
    ASSERT_EQ(first.outputLines().size(), 2U);
    ASSERT_EQ(second.outputLines().size(), 1U);
    const Json outerEnd = Json::parse(first.outputLines()[1].substr(8));
    const Json innerEnd = Json::parse(second.outputLines()[0].substr(8));
    EXPECT_EQ(innerEnd, (Json{outerEnd[0], nullptr, "", "1.1"}));
    EXPECT_EQ(outerEnd, (Json{innerEnd[0], "outer", "who=outer", "1.1"}));
}

#ifdef SSO_SERVICE
/// Each has a folder of its own then for what its engine keeps there; the bus is not in it.
TEST_F(TwoBrowsers, ShareABusAlsoWithoutAFolderForTheSession) {
    namespace fs = std::filesystem;
    const std::string temporary = m_folder.path("tmp");
    fs::create_directory(temporary);
    const auto run = [&](const std::string& name, const std::string& script, auto onOutput) {
        support::ProcessOptions options;
        options.environment = {"TMPDIR=" + temporary, "XDG_DATA_HOME=" + m_folder.path("data"),
                               "DBUS_SESSION_BUS_ADDRESS=", "DISPLAY=", "WAYLAND_DISPLAY="};
        options.onOutput = onOutput;
        return support::runProcess(
            {"/usr/bin/env", "-u", "XDG_RUNTIME_DIR", support::builtPath("bin/sso-browser"),
             "--module", support::modulePath(), SSO_TEST_PAGE, "--state", "shared", "--grant",
             "partner", "--run-script", m_folder.write(name, script)},
            options);
    };
    const auto buses = [&] {
        std::vector<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(temporary)) {
            if (entry.is_socket() && entry.path().filename() == "bus")
                found.push_back(entry.path());
        }
        return found;
    };
    const std::string one = temporary + "/sso-desk-bus-" + std::to_string(geteuid()) + "/bus";
    const std::string ask =
        "const plugin = new Embedding();"
        "const status = () => plugin.call({ command: 'sso_plugin_getLoginStatus' }).code;"
        "const first = status();";
    bool isKilled = false;
    support::ProcessResult inner;
    const auto outer = run("outer.js", ask + R"js(
        console.log("there");
        await new Promise(done => setTimeout(done, 4000));
        console.log("again");
        return [first, status()];
    )js",
                           [&](pid_t, const std::string& output) {
                               if (!isKilled) {
                                   isKilled = true;
                                   inner = run("inner.js", ask + "return [first];",
                                               [](pid_t, const std::string&) {});
                                   EXPECT_THAT(buses(), ElementsAre(one));
                                   const pid_t bus = busBelow(temporary);
                                   ASSERT_GT(bus, 0);
                                   kill(bus, SIGKILL);
                               } else if (output.find("again") != std::string::npos) {
                                   EXPECT_THAT(buses(), ElementsAre(one));
                               }
                           });
    EXPECT_EQ(inner.output, "result: [0]\n") << inner.errors;
    EXPECT_EQ(outer.outputLines().back(), "result: [0,0]") << outer.errors;
}

TEST_F(TwoBrowsers, ChangeOneStateAtOnceAndLoseNothing) {
    support::ProcessOptions environment;
    environment.environment = desk();
    const auto loaded =
        support::runProcess({support::builtPath("bin/ssoctl"), "--state", "shared", "state", "load",
                             SSO_SOURCE_DIR "/account/examples/signed-in.json"},
                            environment);
    ASSERT_EQ(loaded.exitCode, 0) << loaded.errors;
    // A hundred each, all at once; what both can know is that each has its answer.
    const auto add = [&](const std::string& who) {
        const std::string script = m_folder.write(who + ".js", "const who = '" + who + R"js(';
            const plugin = new Embedding();
            const answers = [];
            for (let i = 0; i < 100; ++i) {
                plugin.post({ command: "sso_plugin_addPartnerAccountMappingInfo", appID: "shared-app",
                              cpName: who, cpUID: `user-${i}` });
            }
            for (let i = 0; i < 100; ++i) answers.push((await plugin.next()).result);
            return answers.filter(result => result === 0).length;
        )js");
        return runBrowser(
            {SSO_TEST_PAGE, "--state", "shared", "--grant", "partner", "--run-script", script});
    };
    auto other = std::async(std::launch::async, add, "other");
    const auto one = add("one");
    EXPECT_EQ(one.output, "result: 100\n") << one.errors;
    EXPECT_EQ(other.get().output, "result: 100\n");
    const Json listed = runScript(R"js(
        const answer = await new Embedding().ask({ command: "sso_plugin_getPartnerAccountMappingList", appID: "shared-app" });
        return JSON.parse(answer.PartnerAccountInfo).length;
    )js",
                                  {"--state", "shared", "--grant", "partner"});
    EXPECT_EQ(listed, 200);
}
#endif

TEST_F(TwoBrowsers, CannotHaveTheSameProfile) {
    const std::string profile = m_folder.path("profile");
    const std::string script = m_folder.write("script.js", "console.log('open'); return 1;");
    const Arguments arguments = {SSO_TEST_PAGE, "--profile", profile, "--run-script", script};
    support::ProcessResult second;
    support::ProcessOptions options;
    options.onOutput = [&](pid_t, const std::string& output) {
        if (output.rfind("console.log: open\n", 0) == 0 && second.exitCode < 0) {
            second = runBrowser(arguments);
        }
    };
    Arguments staying = arguments;
    staying.insert(staying.end(), {"--quit-after", "10"});
    EXPECT_EQ(runBrowser(staying, options).exitCode, 0);
    EXPECT_EQ(second.exitCode, 2);
    EXPECT_THAT(second.errorLines(), ElementsAre("sso-browser: the profile " + profile +
                                                 " is in use by another sso-browser"));
}

}  // namespace
