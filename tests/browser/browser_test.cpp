#include "browser_test.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "module_path.h"

namespace browser {
namespace {

constexpr char kResult[] = "result: ";

}  // namespace

support::ProcessResult BrowserTest::runBrowser(const Arguments& arguments,
                                               support::ProcessOptions options) {
    Arguments command = {support::builtPath("bin/sso-browser"), "--module", support::modulePath()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const auto isGiven = [&](const char* option) {
        return std::find(arguments.begin(), arguments.end(), option) != arguments.end();
    };
    // Nobody's, rather than the account of the person who runs the tests.
    if (!isGiven("--account") && !isGiven("--state")) {
        command.insert(command.end(), {"--account", m_folder.write("nobody.json", "{}")});
    }
    const std::vector<std::string> folders = desk();
    options.environment.insert(options.environment.end(), folders.begin(), folders.end());
    // A display of a person must not get dozens of windows, nor may one be needed.
    options.environment.insert(options.environment.end(), {"DISPLAY=", "WAYLAND_DISPLAY="});
    // Longer than it gives a script, so that it tells what it waits for.
    options.timeout = std::max(options.timeout, std::chrono::seconds(90));
    auto result = support::runProcess(command, options);
    EXPECT_FALSE(result.timedOut) << result.output << result.errors;
    return result;
}

std::vector<std::string> BrowserTest::desk() const {
    std::vector<std::string> variables = {"DBUS_SESSION_BUS_ADDRESS="};
    for (const char* name : {"XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
        const std::string folder = m_desk.path(name);
        std::filesystem::create_directories(folder);
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
        variables.push_back(name + std::string("=") + folder);
    }
    return variables;
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
