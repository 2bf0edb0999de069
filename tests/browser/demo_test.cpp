// The demo application, driven as a person would, in the real browser.

#include <signal.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "browser_test.h"
#include "module_path.h"
#include "process_figures.h"
#include "protocol_data.h"

namespace {

using ::testing::StartsWith;

// clang-format off
const std::vector<std::string> kTour = {
    // Mistakes.
    R"(-> async    { "command": "sso_plugin_noSuchCommand" })",
    R"(<- async    { "command": "sso_plugin_noSuchCommand", "errorMessage": "You do not have the privilege", "errorName": "PrivilegeInvalid", "status": 18 })",
    R"(-> blocking { "command": "sso_plugin_noSuchCommand" })",
    R"(<- blocking { "code": 18, "errorMessage": "You do not have the privilege", "errorName": "SecurityError" })",
    R"(-> async    { "command": "sso_plugin_getVersion" })",
    R"(<- async    { "errorMessage": "Command no recognized", "errorName": "commandInvaild", "status": -1 })",
    R"(-> async    { "command": "sso_plugin_show_login_page" })",
    R"(<- async    { "command": "sso_plugin_show_login_page", "errorMessage": "Parameter is invalid", "errorName": "paramInvaild", "status": -1 })",
    R"(-> async    "not a dictionary")",
    R"(<- async    { "errorMessage": "Incoming message is invalid", "errorName": "paramInvaild", "status": -1 })",
    // Each command.
    R"(-> async    { "command": "sso_plugin_show_login_page", "data": "login" })",
    R"(<- async    { "command": "sso_plugin_show_login_page", "state": 0, "status": 0 })",
    R"(-> async    { "command": "sso_plugin_createAccount" })",
    R"(<- async    { "command": "sso_plugin_createAccount", "state": 0, "status": 0 })",
    R"(-> async    { "command": "sso_plugin_getZEVAccessToken", "id": "demo-client", "secret": "demo-secret" })",
    R"(<- async    { "command": "sso_plugin_getZEVAccessToken", "status": 0, "token": "access-token-of-demo-client" })",
    R"(-> async    { "command": "sso_plugin_showTermsPage", "termsId": "terms-1", "callerId": "demo" })",
    R"(<- async    { "command": "sso_plugin_showTermsPage", "state": 0, "status": 0 })",
    R"(-> async    { "command": "sso_plugin_getPartnerAccountMappingList", "appID": "demo-app", "cpName": "demo-partner" })",
    R"(<- async    { "PartnerAccountInfo": "[{\"appID\":\"demo-app\",\"cpName\":\"demo-partner\",\"cpUID\":\"user-0\"}]", "command": "sso_plugin_getPartnerAccountMappingList", "status": 0 })",
    R"(-> async    { "command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner", "cpUID": "user-1" })",
    R"(<- async    { "command": "sso_plugin_addPartnerAccountMappingInfo", "result": 0, "status": 0 })",
    R"(-> async    { "command": "sso_plugin_removePartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner", "cpUID": "user-1" })",
    R"(<- async    { "command": "sso_plugin_removePartnerAccountMappingInfo", "result": 0, "status": 0 })",
    R"(-> blocking { "command": "sso_plugin_getVersion" })",
    R"(<- blocking { "code": 0, "errorMessage": "", "errorName": "", "value": "1.1" })",
    R"(-> blocking { "command": "sso_plugin_getSSOState" })",
    R"(<- blocking { "code": 0, "errorMessage": "", "errorName": "", "value": "robin@user.example?auth-token-of-robin?uid-robin?guid-robin" })",
    R"(-> blocking { "command": "sso_plugin_getGuid" })",
    R"(<- blocking { "code": 0, "errorMessage": "", "errorName": "", "value": "guid-robin" })",
    R"(-> blocking { "command": "sso_plugin_getLoginStatus" })",
    R"(<- blocking { "code": 0, "errorMessage": "", "errorName": "", "value": 1 })",
    R"(-> blocking { "command": "sso_plugin_getLoginUid" })",
    R"(<- blocking { "code": 0, "errorMessage": "", "errorName": "", "value": "uid-robin" })",
    R"(-> blocking { "command": "sso_plugin_getTermsAgreementState", "termsId": "terms-1" })",
    R"(<- blocking { "code": 0, "errorMessage": "", "errorName": "", "value": 1 })",
    R"(-> async    { "command": "sso_plugin_addPartnerAccountMappingInfo", "appID": "demo-app", "cpName": "demo-partner", "cpUID": "user-2" })",
    R"(<- async    { "command": "sso_plugin_addPartnerAccountMappingInfo", "result": 0, "status": 0 })",
    R"(-> async    { "command": "sso_plugin_getPartnerAccountMappingList", "appID": "demo-app", "cpName": "demo-partner" })",
    R"(<- async    { "PartnerAccountInfo": "[{\"appID\":\"demo-app\",\"cpName\":\"demo-partner\",\"cpUID\":\"user-0\"},{\"appID\":\"demo-app\",\"cpName\":\"demo-partner\",\"cpUID\":\"user-2\"}]", "command": "sso_plugin_getPartnerAccountMappingList", "status": 0 })",
    "result: null",
};
// clang-format on

/// Lines of the transcript on the console, without the time of day and the time that it took.
std::vector<std::string> withoutTimes(const std::vector<std::string>& lines) {
    static const std::regex entry(R"(console\.log: \d\d:\d\d:\d\d\.\d{3} (.*?)( \(\d+\.\d ms\))?)");
    std::vector<std::string> found;
    for (const std::string& line : lines) {
        std::smatch match;
        found.push_back(std::regex_match(line, match, entry) ? match[1] : line);
    }
    return found;
}

class TheDemo : public browser::BrowserTest {
  protected:
    /// Runs a script in the demo page. @return its result.
    Json runInDemo(const std::string& script, const support::ProcessOptions& options = {}) {
        const auto result = runBrowser({SSO_TEST_DEMO, "--run-script",
                                        m_folder.write("script.js", script), "--quit-after", "0"},
                                       options);
        EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
        const auto lines = result.outputLines();
        if (lines.empty() || lines.back().rfind("result: ", 0) != 0) {
            ADD_FAILURE() << "the script has no result:\n" << result.output << result.errors;
            return {};
        }
        return Json::parse(lines.back().substr(8));
    }

    static uint32_t bigEndian(const std::string& bytes, size_t at) {
        uint32_t value = 0;
        for (size_t i = at; i < at + 4; ++i) {
            value = value << 8 | static_cast<unsigned char>(bytes[i]);
        }
        return value;
    }
};

TEST_F(TheDemo, TakesItsTour) {
    const std::string picture = m_folder.path("demo.png");
    const auto result =
        runBrowser({SSO_TEST_DEMO, "--account", SSO_SOURCE_DIR "/account/examples/signed-in.json",
                    "--run-script", SSO_SOURCE_DIR "/scripts/demo-tour.js", "--screenshot", picture,
                    "--quit-after", "0.5"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errorLines(),
                ::testing::ElementsAre("sso-browser: \"sso_plugin_noSuchCommand\" was refused: the "
                                       "plug-in has no such command"));
    // Line by line: the first difference tells what the tour is about.
    std::vector<std::string> lines = withoutTimes(result.outputLines());
    lines.resize(std::max(lines.size(), kTour.size()), "(nothing)");
    for (std::size_t i = 0; i < lines.size(); ++i) {
        ASSERT_EQ(lines[i], i < kTour.size() ? kTour[i] : "(nothing)") << "line " << i;
    }

    std::ifstream file(picture, std::ios::binary);
    const std::string png{std::istreambuf_iterator<char>(file), {}};
    ASSERT_THAT(png, StartsWith("\x89PNG\r\n\x1a\n"));
    EXPECT_EQ(bigEndian(png, 16), 1280U);
    EXPECT_EQ(bigEndian(png, 20), 800U);
    EXPECT_GT(png.size(), 20000U) << "an empty window is far smaller";
}

TEST_F(TheDemo, OffersEveryCommandWithAReadyMessage) {
    const Json result = runInDemo(R"js(
        const found = [];
        for (const button of document.querySelectorAll("[data-command]")) {
            button.click();
            found.push(JSON.parse(document.querySelector("textarea").value));
        }
        return found;
    )js");
    Json expected = Json::array();
    for (const contract::Path path : {contract::Path::Async, contract::Path::Blocking}) {
        for (const contract::Command& command : contract::protocol().commandsOf(path)) {
            expected.push_back({{"command", command.name}});
            for (const contract::Key& key : command.keys) expected.back()[key.name] = key.example;
        }
    }
    ASSERT_EQ(result.size(), expected.size()) << result;
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(result[i], expected[i]);
}

/// A script that does what a person does, and says what the page shows.
constexpr const char* kWatchState = R"js(
    const state = () => document.getElementById("state").textContent;
    const shown = async text => { while (state() !== text) await new Promise(done => setTimeout(done, 20)); };
)js";

TEST_F(TheDemo, StartsAPluginAnewWhoseProcessHasEnded) {
    bool killed = false;
    support::ProcessOptions options;
    options.onOutput = [&](pid_t browser, const std::string& output) {
        if (killed || output.find("console.log: ready\n") == std::string::npos) return;
        killed = true;
        for (const pid_t process : browser::pluginProcessesOf(browser, support::modulePath())) {
            kill(process, SIGKILL);
        }
    };
    const Json result = runInDemo(std::string(kWatchState) + R"js(
        const ask = () => demo.sendAndWait({ command: "sso_plugin_getVersion" });
        await shown("Plug-in 1.1 is up");
        console.log("ready");
        while (ask()) await new Promise(done => setTimeout(done, 20));
        await shown("Plug-in does not answer");
        document.getElementById("restart").click();
        await shown("Plug-in 1.1 is up");
        return ask().value;
    )js",
                                  options);
    EXPECT_TRUE(killed);
    EXPECT_EQ(result, "1.1");
}

}  // namespace
