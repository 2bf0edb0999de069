// The example application, by its own test script.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

#include "browser_test.h"
#include "module_path.h"
#include "page_server.h"

namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class TheFirstApplication : public browser::BrowserTest {
  protected:
    /// A copy whose backend has a port that is free.
    TheFirstApplication() {
        fs::copy(SSO_SOURCE_DIR "/web/examples/first-app", m_app, fs::copy_options::recursive);
        const std::string origin = browser::PageServer("").origin();
        m_port = origin.substr(origin.rfind(':') + 1);
        replace("config.json", "8137", m_port);
    }

    void replace(const std::string& file, const std::string& from, const std::string& to) {
        std::ifstream stream(m_app / file);
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        ASSERT_THAT(text, HasSubstr(from));
        m_folder.write("app/" + file, std::regex_replace(text, std::regex(from), to));
    }

    support::ProcessResult test() {
        support::ProcessOptions options;
        options.environment = {"BACKEND_PORT=" + m_port, "DISPLAY=", "WAYLAND_DISPLAY="};
        return support::runProcess({m_app / "test.sh", support::builtPath("bin/sso-browser")},
                                   options);
    }

    const fs::path m_app = m_folder.path("app");
    std::string m_port;
};

// Modules, its own data, a backend of another origin, storage that stays.
TEST_F(TheFirstApplication, PassesItsTest) {
    const auto result = test();
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, "result: \"Hello Sasha.\"\nresult: \"Sasha was here before.\"\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(TheFirstApplication, FailsItWhenTheBackendKnowsNobody) {
    replace("account.json", "access-token-of-demo-client", "another");
    const auto result = test();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, HasSubstr("/profile failed to load: 401 Unauthorized\n"));
    EXPECT_THAT(result.errors,
                HasSubstr("sso-browser: script error: Error: Nobody is signed in: the "
                          "backend answers 401 (test-sign-in.js:"));
}

}  // namespace
