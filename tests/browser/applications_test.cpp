// Several applications in one browser: each has its own grants, whatever its pages try.

#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <regex>
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

/// The texts of whole console.log lines.
std::vector<std::string> logged(const std::string& output) {
    static const std::regex line("console\\.log: (.*)\n");
    std::vector<std::string> found;
    for (std::sregex_iterator match(output.begin(), output.end(), line), end; match != end;
         ++match) {
        found.push_back((*match)[1]);
    }
    return found;
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

    /// Runs the browser until so many texts have been logged, then ends it.
    ///
    /// @return the texts, in alphabetical order.
    std::vector<std::string> console(const Arguments& arguments, std::size_t lines) {
        support::ProcessOptions options;
        options.timeout = std::chrono::seconds(120);
        options.onOutput = [&](pid_t process, const std::string& output) {
            if (logged(output).size() < lines) return;
            if (m_pluginProcesses.empty()) {
                m_pluginProcesses = browser::pluginProcessesOf(process, support::modulePath());
            }
            kill(process, SIGTERM);
        };
        m_last = runBrowser(arguments, options);
        EXPECT_EQ(m_last.exitCode, 128 + SIGTERM) << m_last.output << m_last.errors;
        std::vector<std::string> found = logged(m_last.output);
        std::sort(found.begin(), found.end());
        return found;
    }

    /// "http://name.localhost" of a folder.
    std::string originOf(const std::string& folder) {
        const std::string script = m_folder.write("origin.js", "return location.origin;");
        const auto result = runBrowser({folder, "--run-script", script, "--quit-after", "0"});
        EXPECT_THAT(result.output, HasSubstr("result: \"http://"));
        const std::string::size_type begin = result.output.find("\"http://") + 1;
        return result.output.substr(begin, result.output.find('"', begin) - begin);
    }

    support::ProcessResult m_last;         ///< of console()
    std::vector<pid_t> m_pluginProcesses;  ///< when console() had its lines
};

TEST_F(Applications, ShareAPluginProcessButNoGrant) {
    const std::string one = make("one", "tell('one')", "\"sso.partner\"");
    const std::string two = make("two", "tell('two')", "\"sso.platform\"");
    const std::string three = make("three", "tell('three')");
    EXPECT_THAT(console({one, two, three}, 3),
                ElementsAre("one: partner 0, platform 18", "three: partner 18, platform 18",
                            "two: partner 18, platform 0"));
    EXPECT_THAT(m_pluginProcesses, SizeIs(1)) << "this test is about one process";
}

TEST_F(Applications, KeepTheGrantsOfTheCommandLineWithTheFirst) {
    const std::string one = make("one", "tell('one')");
    const std::string two = make("two", "tell('two')");
    EXPECT_THAT(console({one, two, "--grant", "partner"}, 2),
                ElementsAre("one: partner 0, platform 18", "two: partner 18, platform 18"));
}

TEST_F(Applications, AreToldApartWhenOneFoldersNameBeginsWithTheOthers) {
    const std::string app = make("app", "tell('app')", "\"sso.partner\"");
    const std::string longer = make("app2", "tell('app2')", "\"sso.platform\"");
    const std::string inner = make("app/inner", "tell('inner')");
    EXPECT_THAT(console({app, longer, inner}, 3),
                ElementsAre("app2: partner 18, platform 0", "app: partner 0, platform 18",
                            "inner: partner 18, platform 18"));
}

TEST_F(Applications, AreFoundInFoldersWithAnyName) {
    const std::string odd = make("odd '%41 \xc3\xa4#?+&", "tell('odd')", "\"sso.partner\"");
    EXPECT_THAT(console({odd}, 1), ElementsAre("odd: partner 0, platform 18"));
    const fs::path roundabout = fs::path(odd) / ".." / "." / fs::path(odd).filename() / "";
    EXPECT_THAT(console({roundabout}, 1), ElementsAre("odd: partner 0, platform 18"));
    const std::string relative = fs::relative(odd);
    EXPECT_THAT(console({relative}, 1), ElementsAre("odd: partner 0, platform 18"));
}

TEST_F(Applications, GrantToAllTheirOwnPages) {
    make("app/deeper", "tell('deeper')");
    const std::string app = make("app", R"(
        tell('start');
        const frame = document.createElement("iframe");
        frame.src = "deeper/index.html?query#fragment";
        document.body.append(frame);)",
                                 "\"sso.partner\"");
    EXPECT_THAT(console({app}, 2),
                ElementsAre("deeper: partner 0, platform 18", "start: partner 0, platform 18"));
}

TEST_F(Applications, LoseTheirGrantsWhenThePageGoesElsewhere) {
    const browser::PageServer elsewhere(pageWith("tell('elsewhere'); tell('elsewhere again')"));
    const std::string app =
        make("app", "tell('start'); location.href = '" + elsewhere.origin() + "/page';",
             "\"sso.partner\"");
    EXPECT_THAT(console({app}, 3),
                ElementsAre("elsewhere again: partner 18, platform 18",
                            "elsewhere: partner 18, platform 18", "start: partner 0, platform 18"));
    EXPECT_THAT(m_last.errorLines(),
                ::testing::Contains("sso-browser: nothing is granted to " + elsewhere.origin() +
                                    "/page: it is not of an application's origin")
                    .Times(1));
}

TEST_F(Applications, CannotBeForgedByThePagesAddress) {
    const std::string victim = make("victim", "", "\"sso.partner\"");
    const std::string forger = make("forger", "const aim = '" + originOf(victim) + "/';" + R"(
        for (const change of ["pushState", "replaceState"]) {
          try { history[change]({}, "", aim); console.log(change + " works"); }
          catch (error) { console.log(change + ": " + error.name); }
        }
        try { document.domain = "localhost"; console.log("domain works"); }
        catch (error) { console.log("domain: " + error.name); }
        const base = document.createElement("base");
        base.href = aim;
        document.head.append(base);
        tell("base");
        base.remove();
        history.replaceState({}, "", location.pathname + "?/victim/#/victim/");
        tell("query");)");
    EXPECT_THAT(console({forger, victim}, 5),
                ElementsAre("base: partner 18, platform 18", "domain: SecurityError",
                            "pushState: SecurityError", "query: partner 18, platform 18",
                            "replaceState: SecurityError"));
}

/// A page's script that shows another page in each kind of frame and uses the plug-in in there. It
/// tells of each whether it was granted anything.
std::string framing(const std::string& aim) {
    return "const aim = '" + aim + R"(';
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
            for (let i = 0; i < 15 && end === "refused"; ++i) {
              await new Promise(done => setTimeout(done, 50));  // a refused frame does not say so
              try {
                if (frame.contentDocument.title !== "there") continue;
                if (codeOf(frame.contentDocument, "sso_plugin_getVersion") === 0) end = "granted";
              } catch (error) {}
            }
            console.log(name + ": " + end);
          }
        })();)";
}

TEST_F(Applications, CannotBeReachedIntoThroughAFrame) {
    const std::string victim = make("victim", "document.title = 'there'", "\"sso.partner\"");
    const std::string attacker = make("attacker", framing(originOf(victim) + "/"));
    EXPECT_THAT(console({attacker, victim}, 3),
                ElementsAre("iframe: refused", "link: refused", "object: refused"));
}

TEST_F(Applications, CannotReadEachOthersFolders) {
    const std::string victim = make("victim", "", "\"sso.partner\"");
    m_folder.write("victim/data.js", "window.stolen = true;");
    const std::string script = "const aim = '" + originOf(victim) + "/data.js';" + R"(
        (async () => {
          for (const [name, mode] of [["fetch", "cors"], ["opaque fetch", "no-cors"]]) {
            await fetch(aim, { mode }).then(() => console.log(name + ": works"),
                                            () => console.log(name + ": refused"));
          }
          const script = document.createElement("script");
          script.src = aim;
          script.onload = () => console.log("script: works");
          script.onerror = () => console.log("script: refused");
          document.body.append(script);
        })();)";
    EXPECT_THAT(console({make("attacker", script), victim}, 3),
                ElementsAre("fetch: refused", "opaque fetch: refused", "script: refused"));
}

// Without this twin the tests above could pass for any reason.
TEST_F(Applications, CanReachIntoTheirOwnFrames) {
    make("app/deeper", "document.title = 'there'");
    const std::string app = make("app", framing("deeper/index.html"), "\"sso.partner\"");
    EXPECT_THAT(console({app}, 3),
                ElementsAre("iframe: granted", "link: granted", "object: granted"));
}

// A frame that its page writes is the page's own; one that is given away is not, whatever its address.
TEST_F(Applications, GrantToDocumentsOfTheirOriginOnly) {
    const std::string app = make("app", R"(
        const inner = `<script>
          const element = document.createElement("embed");
          element.type = "application/x-sso-plugin";
          element.width = element.height = 1;
          document.documentElement.append(element);
          const { code } = element.postMessageAndAwaitResponse({ command: "sso_plugin_getVersion" });
          console.log(document.URL.slice(0, 5) + (window.origin === "null" ? " alone: " : ": ") + code);
          <${"/script>"}`;
        const frame = changes => document.body.append(
            Object.assign(document.createElement("iframe"), changes));
        frame({ srcdoc: inner });
        frame({ src: URL.createObjectURL(new Blob([inner], { type: "text/html" })) });
        frame({ src: "data:text/html," + encodeURIComponent(inner) });
        frame({ src: "inner.html", sandbox: "allow-scripts" });
        fetch("inner.html");)",
                                 "\"sso.partner\"");
    m_folder.write("app/inner.html", R"(<!DOCTYPE html><body><script>
          const element = document.createElement("embed");
          element.type = "application/x-sso-plugin";
          element.width = element.height = 1;
          document.body.append(element);
          try {
            const { code } = element.postMessageAndAwaitResponse({ command: "sso_plugin_getVersion" });
            console.log("sandboxed: " + code);
          } catch (error) { console.log("sandboxed: no plug-in"); }
        </script>)");
    EXPECT_THAT(console({app}, 4),
                ElementsAre("about: 0", "blob:: 0", "data: alone: 18", "sandboxed: no plug-in"));
    EXPECT_THAT(m_last.errors, HasSubstr("nothing is granted to data:text/html,"));
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
    EXPECT_THAT(console({server.origin() + "/start/page.html", "--grant", "partner"}, 3),
                ElementsAre("other name: partner 18, platform 18", "own: partner 0, platform 18",
                            "stranger: partner 18, platform 18"));
}

}  // namespace
