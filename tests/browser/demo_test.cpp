// The demo application, driven as a person would, in the real browser.

#include <fstream>
#include <iterator>
#include <string>

#include "browser_test.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class TheDemo : public browser::BrowserTest {
  protected:
    /// Runs a script in the demo page. @return its result.
    Json runInDemo(const std::string& script) {
        const auto result = runBrowser({SSO_SOURCE_DIR "/web/demo", "--run-script",
                                        m_folder.write("script.js", script), "--quit-after", "0"});
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
    const auto result = runBrowser({SSO_SOURCE_DIR "/web/demo", "--run-script",
                                    SSO_SOURCE_DIR "/scripts/demo-tour.js", "--screenshot", picture,
                                    "--quit-after", "0.5"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errorLines(), IsEmpty());
    // Without the times.
    EXPECT_THAT(
        result.outputLines(),
        ElementsAre(
            HasSubstr(R"(-> blocking { "command": "sso_plugin_getVersion" })"),
            HasSubstr(
                R"(<- blocking { "code": 0, "errorMessage": "", "errorName": "", "value": "1.1" } ()"),
            HasSubstr(
                R"(-> async    { "command": "sso_plugin_show_login_page", "data": "login" })"),
            HasSubstr(
                R"(<- async    { "command": "sso_plugin_show_login_page", "state": 0, "status": 0 } ()"),
            HasSubstr(R"(-> async    { "command": "sso_plugin_noSuchCommand" })"),
            HasSubstr(R"("errorName": "PrivilegeInvalid", "status": 18 } ()"),
            HasSubstr(R"(-> blocking { "command": "sso_plugin_noSuchCommand" })"),
            HasSubstr(R"(<- blocking { "code": 18, )"),
            HasSubstr(R"(-> async    { "command": "sso_plugin_getVersion" })"),
            HasSubstr(R"("errorMessage": "Command no recognized", )"),
            HasSubstr(R"(-> async    { "command": "sso_plugin_show_login_page" })"),
            HasSubstr(R"("errorName": "paramInvaild", "status": -1 } ()"),
            HasSubstr(R"(-> async    "not a dictionary")"),
            HasSubstr(R"("errorMessage": "Incoming message is invalid", )"), "result: null"));

    std::ifstream file(picture, std::ios::binary);
    const std::string png{std::istreambuf_iterator<char>(file), {}};
    ASSERT_THAT(png, StartsWith("\x89PNG\r\n\x1a\n"));
    EXPECT_EQ(bigEndian(png, 16), 1280U);
    EXPECT_EQ(bigEndian(png, 20), 800U);
    EXPECT_GT(png.size(), 20000U) << "an empty window is far smaller";
}

TEST_F(TheDemo, OffersAllThirteenCommandsWithReadyMessages) {
    const Json result = runInDemo(R"js(
        const found = [];
        for (const button of document.querySelectorAll("[data-command]")) {
            button.click();
            found.push(JSON.parse(document.querySelector("textarea").value).command);
        }
        return found.sort();
    )js");
    EXPECT_EQ(result, (Json{
                          "sso_plugin_addPartnerAccountMappingInfo",
                          "sso_plugin_createAccount",
                          "sso_plugin_getGuid",
                          "sso_plugin_getLoginStatus",
                          "sso_plugin_getLoginUid",
                          "sso_plugin_getPartnerAccountMappingList",
                          "sso_plugin_getSSOState",
                          "sso_plugin_getTermsAgreementState",
                          "sso_plugin_getVersion",
                          "sso_plugin_getZEVAccessToken",
                          "sso_plugin_removePartnerAccountMappingInfo",
                          "sso_plugin_showTermsPage",
                          "sso_plugin_show_login_page",
                      }));
}

}  // namespace
