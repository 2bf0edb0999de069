// The example that signs in with the typed client, in the real browser.

#include "browser_test.h"

namespace {

class TheSignInExample : public browser::BrowserTest {
  protected:
    /// Runs a script in the example. @return its result.
    Json run(const std::string& account, const std::string& script) {
        const auto result = runBrowser({SSO_TEST_SIGN_IN, "--account", account, "--run-script",
                                        m_folder.write("script.js", script), "--quit-after", "0"});
        EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
        const std::string start = "result: ";
        const auto lines = result.outputLines();
        if (lines.empty() || lines.back().rfind(start, 0) != 0) {
            ADD_FAILURE() << "no result:\n" << result.output << result.errors;
            return {};
        }
        return Json::parse(lines.back().substr(start.size()));
    }
};

constexpr const char* kVisit = R"js(
    const text = id => document.getElementById(id).textContent;
    const told = async what => { while (text("who") === what) await new Promise(done => setTimeout(done, 20)); };
    const said = [];
    await told("…");
    said.push(text("who"));
    document.getElementById("sign-in").click();
    await told(said[0]);
    said.push(text("who"), document.getElementById("sign-in").hidden);
    document.getElementById("sign-out").click();
    said.push(text("who"), document.getElementById("sign-in").hidden);
    return said;
)js";

TEST_F(TheSignInExample, SignsInGetsATokenAndForgetsIt) {
    EXPECT_EQ(run(SSO_SOURCE_DIR "/account/examples/signed-out.json", kVisit),
              Json::array(
                  {"Nobody is signed in.", "uid-sasha is signed in.", true, "Signed out.", false}));
}

TEST_F(TheSignInExample, SaysWhatFailed) {
    EXPECT_EQ(run(SSO_SOURCE_DIR "/account/examples/everything-fails.json", kVisit),
              Json::array({"Nobody is signed in.", "Not signed in: not-started", false,
                           "Signed out.", false}));
}

}  // namespace
