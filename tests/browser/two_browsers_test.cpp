// Two browsers at once, with the same application.

#include <filesystem>
#include <string>

#include "browser_test.h"

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
