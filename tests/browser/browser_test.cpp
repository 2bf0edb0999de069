#include "browser_test.h"

#include <algorithm>

#include "module_path.h"

namespace browser {
namespace {

constexpr char kResult[] = "result: ";

}  // namespace

support::ProcessResult BrowserTest::runBrowser(const Arguments& arguments,
                                               support::ProcessOptions options) {
    Arguments command = {support::builtPath("bin/sso-browser"), "--module", support::modulePath()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    // A display of a person must not get dozens of windows, nor may one be needed.
    options.environment.insert(options.environment.end(), {"DISPLAY=", "WAYLAND_DISPLAY="});
    return support::runProcess(command, options);
}

nlohmann::json BrowserTest::runScript(const std::string& script, const Arguments& arguments,
                                      support::ProcessOptions options) {
    Arguments all = {SSO_TEST_PAGE, "--run-script", m_folder.write("script.js", script)};
    if (std::find(arguments.begin(), arguments.end(), "--quit-after") == arguments.end()) {
        all.insert(all.end(), {"--quit-after", "0"});
    }
    all.insert(all.end(), arguments.begin(), arguments.end());
    options.timeout = std::chrono::seconds(240);
    m_last = runBrowser(all, options);
    EXPECT_EQ(m_last.exitCode, 0) << m_last.output << m_last.errors;
    for (const std::string& line : m_last.outputLines()) {
        if (line.rfind(kResult, 0) == 0) {
            return Json::parse(line.substr(sizeof(kResult) - 1));
        }
    }
    ADD_FAILURE() << "the script has no result:\n" << m_last.output << m_last.errors;
    return {};
}

std::vector<std::string> BrowserTest::console() const {
    std::vector<std::string> lines;
    for (const std::string& line : m_last.outputLines()) {
        if (line.rfind("console.", 0) == 0) {
            lines.push_back(line);
        }
    }
    return lines;
}

}  // namespace browser
