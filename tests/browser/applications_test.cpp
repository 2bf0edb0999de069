// Several applications in one browser: each has its own grants, whatever its pages try.

#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "browser_test.h"
#include "module_path.h"
#include "page_server.h"
#include "process_figures.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

/// For a page's script: tells on the console, after a name, how a privilege's command is answered to
/// an element in a document: the code, 0 when it is granted and 18 when it is not.
constexpr const char* kTell = R"(
function codeOf(place, command) {
  const element = place.createElement("embed");
  element.type = "application/x-sso-plugin";
  element.width = element.height = 1;
  place.body.append(element);
  return element.postMessageAndAwaitResponse({ command }).code;
}
function tell(name, place = document) {
  console.log(name + ": partner " + codeOf(place, "sso_plugin_getVersion") +
              ", platform " + codeOf(place, "sso_plugin_getSSOState"));
}
)";

std::string pageWith(const std::string& script) {
    return "<!DOCTYPE html><body><script>" + std::string(kTell) + script + "</script>";
}

class Applications : public browser::BrowserTest {
  protected:
    /// Makes an application, or a page of none when `privileges` is empty.
    ///
    /// @param privileges  as in a manifest: `"sso.partner"`.
    /// @return its folder.
    std::string make(const std::string& folder, const std::string& script,
                     const std::string& privileges = "") {
        fs::create_directories(m_folder.path(folder));
        m_folder.write(folder + "/index.html", pageWith(script));
        m_folder.write(folder + "/manifest.json",
                       R"({"name": ")" + folder + R"(", "start": "index.html", "privileges": [)" +
                           privileges + "]}");
        return m_folder.path(folder);
    }

    /// Runs the browser until so many lines are on its console, then ends it.
    ///
    /// @return the console's lines in alphabetical order, without "console.".
    std::vector<std::string> console(const Arguments& arguments, std::size_t lines) {
        support::ProcessOptions options;
        options.timeout = std::chrono::seconds(120);
        options.onOutput = [&](pid_t process, const std::string& output) {
            if (static_cast<std::size_t>(std::count(output.begin(), output.end(), '\n')) < lines) {
                return;
            }
            if (m_pluginProcesses.empty()) {
                m_pluginProcesses = browser::pluginProcessesOf(process, support::modulePath());
            }
            kill(process, SIGTERM);
        };
        const support::ProcessResult result = runBrowser(arguments, options);
        EXPECT_EQ(result.exitCode, 128 + SIGTERM) << result.output << result.errors;
        std::vector<std::string> found;
        for (const std::string& line : result.outputLines()) {
            found.push_back(line.substr(line.find('.') + 1));
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    std::vector<pid_t> m_pluginProcesses;  ///< when console() had its lines
};

TEST_F(Applications, ShareAPluginProcessButNoGrant) {
    const std::string one = make("one", "tell('one')", "\"sso.partner\"");
    const std::string two = make("two", "tell('two')", "\"sso.platform\"");
    const std::string three = make("three", "tell('three')");
    EXPECT_THAT(console({one, two, three}, 3), ElementsAre("log: one: partner 0, platform 18",
                                                           "log: three: partner 18, platform 18",
                                                           "log: two: partner 18, platform 0"));
    EXPECT_THAT(m_pluginProcesses, SizeIs(1)) << "this test is about one process";
}

TEST_F(Applications, KeepTheGrantsOfTheCommandLineWithTheFirst) {
    const std::string one = make("one", "tell('one')");
    const std::string two = make("two", "tell('two')");
    EXPECT_THAT(
        console({one, two, "--grant", "partner"}, 2),
        ElementsAre("log: one: partner 0, platform 18", "log: two: partner 18, platform 18"));
}

TEST_F(Applications, AreToldApartWhenOneFoldersNameBeginsWithTheOthers) {
    const std::string app = make("app", "tell('app')", "\"sso.partner\"");
    const std::string longer = make("app2", "tell('app2')", "\"sso.platform\"");
    const std::string inner = make("app/inner", "tell('inner')");
    EXPECT_THAT(console({app, longer, inner}, 3),
                ElementsAre("log: app2: partner 18, platform 0", "log: app: partner 0, platform 18",
                            "log: inner: partner 18, platform 18"));
}

TEST_F(Applications, AreFoundInFoldersWithAnyName) {
    const std::string odd = make("odd '%41 \xc3\xa4#?+&", "tell('odd')", "\"sso.partner\"");
    EXPECT_THAT(console({odd}, 1), ElementsAre("log: odd: partner 0, platform 18"));
    const fs::path roundabout = fs::path(odd) / ".." / "." / fs::path(odd).filename() / "";
    EXPECT_THAT(console({roundabout}, 1), ElementsAre("log: odd: partner 0, platform 18"));
    const std::string relative = fs::relative(odd);
    EXPECT_THAT(console({relative}, 1), ElementsAre("log: odd: partner 0, platform 18"));
}

TEST_F(Applications, GrantToAllTheirOwnPages) {
    make("app/deeper", "tell('deeper')");
    const std::string app = make("app", R"(
        tell('start');
        const frame = document.createElement("iframe");
        frame.src = "deeper/index.html?query#fragment";
        document.body.append(frame);)",
                                 "\"sso.partner\"");
    EXPECT_THAT(console({app}, 2), ElementsAre("log: deeper: partner 0, platform 18",
                                               "log: start: partner 0, platform 18"));
}

TEST_F(Applications, LoseTheirGrantsWhenThePageGoesElsewhere) {
    make("elsewhere", "tell('elsewhere')");
    const std::string app = make("app", R"(
        if (location.hash) tell("back");
        else { tell("start"); location.href = "../elsewhere/index.html"; })",
                                 "\"sso.partner\"");
    EXPECT_THAT(console({app}, 2), ElementsAre("log: elsewhere: partner 18, platform 18",
                                               "log: start: partner 0, platform 18"));
}

TEST_F(Applications, CannotBeForgedByThePagesAddress) {
    const std::string victim = make("victim", "", "\"sso.partner\"");
    const std::string forger = make("forger", R"(
        const aim = "../victim/index.html";
        for (const change of ["pushState", "replaceState"]) {
          try { history[change]({}, "", aim); console.log(change + " works"); }
          catch (error) { console.log(change + ": " + error.name); }
        }
        const base = document.createElement("base");
        base.href = aim;
        document.head.append(base);
        tell("base");
        history.replaceState({}, "", location.pathname + "?/victim/#/victim/");
        tell("query");)");
    EXPECT_THAT(
        console({forger, victim}, 4),
        ElementsAre("log: base: partner 18, platform 18", "log: pushState: SecurityError",
                    "log: query: partner 18, platform 18", "log: replaceState: SecurityError"));
}

/// A page's script that shows another page in each kind of frame and uses the plug-in in there. It
/// tells of each whether it was granted anything.
std::string framing(const std::string& aim) {
    return "const aim = '" + aim + R"(';
        const patience = () => new Promise(done => setTimeout(done, 1000));
        const attempts = {
          iframe: frame => { frame.src = aim; },
          object: frame => { frame.type = "text/html"; frame.data = aim; },
          link: frame => { frame.name = "later"; },
        };
        (async () => {
          for (const [name, point] of Object.entries(attempts)) {
            const frame = document.createElement(name === "object" ? "object" : "iframe");
            point(frame);
            document.body.append(frame);
            if (name === "link") window.open(aim, "later");
            let end = "refused";
            for (let i = 0; i < 3 && end === "refused"; ++i) {
              await patience();  // a frame that is refused does not say so
              try {
                if (codeOf(frame.contentDocument, "sso_plugin_getVersion") === 0) end = "granted";
              } catch (error) {}
            }
            console.log(name + ": " + end);
          }
        })();)";
}

TEST_F(Applications, CannotBeReachedIntoThroughAFrame) {
    const std::string victim = make("victim", "", "\"sso.partner\"");
    const std::string attacker = make("attacker", framing("../victim/index.html"));
    const std::vector<std::string> lines = console({attacker, victim}, 6);
    ASSERT_THAT(lines, SizeIs(6));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_THAT(lines[i], HasSubstr("error: a page of another application cannot be shown"));
        EXPECT_THAT(lines[i], HasSubstr("/victim/index.html"));
    }
    EXPECT_THAT(std::vector<std::string>(lines.begin() + 3, lines.end()),
                ElementsAre("log: iframe: refused", "log: link: refused", "log: object: refused"));
}

TEST_F(Applications, CannotBeReachedIntoFromOneWhoseFolderIsInTheirs) {
    const std::string outer = make("outer", "", "\"sso.partner\"");
    const std::string inner = make("outer/inner", framing("../index.html"));
    const std::vector<std::string> lines = console({outer, inner}, 6);
    ASSERT_THAT(lines, SizeIs(6));
    EXPECT_THAT(std::vector<std::string>(lines.begin() + 3, lines.end()),
                ElementsAre("log: iframe: refused", "log: link: refused", "log: object: refused"));
}

// Without this twin the tests above could pass for any reason.
TEST_F(Applications, CanReachIntoTheirOwnFrames) {
    make("app/deeper", "");
    const std::string app = make("app", framing("deeper/index.html"), "\"sso.partner\"");
    EXPECT_THAT(console({app}, 3),
                ElementsAre("log: iframe: granted", "log: link: granted", "log: object: granted"));
}

TEST_F(Applications, FromAServerAreTheirOrigin) {
    const browser::PageServer stranger(pageWith("tell('stranger')"));
    const std::string frames = "for (const src of ['" + stranger.origin() + R"(/own/page',
          location.href.replace("127.0.0.1", "localhost") + "#other name"]) {
        const frame = document.createElement("iframe");
        frame.src = src;
        document.body.append(frame);
      })";
    const browser::PageServer server(pageWith(R"(
      if (location.hash) tell("other name");
      else {
        history.pushState({}, "", "/another/address?query");
        tell("own");
        )" + frames + "}"));
    EXPECT_THAT(
        console({server.origin() + "/start/page.html", "--grant", "partner"}, 3),
        ElementsAre("log: other name: partner 18, platform 18", "log: own: partner 0, platform 18",
                    "log: stranger: partner 18, platform 18"));
}

}  // namespace
