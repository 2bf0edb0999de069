// The typed client's suite, in the real browser.

#include "browser_test.h"

namespace {

class TheClient : public browser::BrowserTest {};

TEST_F(TheClient, PassesItsSuiteInTheRealBrowser) {
    const auto result =
        runBrowser({SSO_TEST_PAGE, "--account", SSO_SOURCE_DIR "/account/examples/signed-in.json",
                    "--grant", "partner", "--grant", "public", "--run-script",
                    SSO_TEST_CLIENT_SUITE, "--quit-after", "0"});
    EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
    const auto lines = result.outputLines();
    ASSERT_FALSE(lines.empty());
    const std::string start = "result: ";
    ASSERT_EQ(lines.back().substr(0, start.size()), start) << result.output;
    const Json told = Json::parse(lines.back().substr(start.size()));
    EXPECT_EQ(told["failed"], Json::object());
    EXPECT_GE(told["cases"], 11);
}

}  // namespace
