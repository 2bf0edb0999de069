// Two browsers at once, with the same application.

#include <filesystem>
#include <future>
#include <string>

#include "browser_test.h"
#include "module_path.h"

namespace {

using ::testing::ElementsAre;

using TwoBrowsers = browser::BrowserTest;

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
