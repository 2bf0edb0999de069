// The browser while DevTools may attach to it: its console, and a page that somebody has used.

#include <signal.h>

#include <string>
#include <vector>

#include "browser_test.h"
#include "devtools_client.h"
#include "server/folder_server.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class AnAttachableBrowser : public browser::BrowserTest {
  protected:
    std::string make(const std::string& page) {
        m_folder.write("index.html", "<!DOCTYPE html><body>" + page);
        m_folder.write("manifest.json",
                       R"({"name": "x", "start": "index.html", "privileges": []})");
        return m_folder.path("");
    }

    /// A port that is free now.
    static int freePort() { return browser::FolderServer(0).port(); }
};

TEST_F(AnAttachableBrowser, PrintsTheConsoleAsTheEngineHasIt) {
    const std::string app = make(R"(<script>
        console.log("text", { a: 1 }, [2]);
        setTimeout(() => { throw new Error("x"); });
        </script><img src="missing.png">)");
    const auto result = runBrowser({app, "--devtools=0", "--quit-after", "3", "--strict"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.outputLines(),
                ElementsAre("console.log: text [object Object] 2",
                            "console.error: Uncaught Error: x (index.html:3)"));
    EXPECT_THAT(result.errorLines(), Contains("sso-browser: --strict: 1 uncaught error"));
    EXPECT_THAT(result.errorLines(),
                Contains(StartsWith("sso-browser: DevTools listen on http://127.0.0.1:")));
    EXPECT_THAT(
        runBrowser({"--help"}).output,
        HasSubstr("The console is then as the engine has it: [object Object] for an object, errors "
                  "without stacks, and no resources that failed to load, which --strict forgives"));
}

// The engine asks only for a page that somebody has used.
TEST_F(AnAttachableBrowser, AnswersAPageThatWouldRatherNotBeLeft) {
    const std::string app = make(R"(<script>
        addEventListener("beforeunload", event => { event.preventDefault(); event.returnValue = ""; });
        console.log("used");
        </script>)");
    m_folder.write("second.html", "<!DOCTYPE html><script>console.log('second')</script>");
    const auto leave = [&](const char* answer, const std::string& last) {
        const int port = freePort();
        bool left = false;
        support::ProcessOptions options;
        options.onOutput = [&](pid_t process, const std::string& output) {
            if (output.find(last) != std::string::npos) kill(process, SIGTERM);
            if (std::exchange(left, true)) return;
            browser::evaluateAsAPerson(port, "location.href = 'second.html'");
        };
        return runBrowser({app, "--devtools=" + std::to_string(port), "--dialogs", answer}, options)
            .outputLines();
    };
    EXPECT_THAT(leave("dismiss", "stayed\n"),
                ElementsAre("console.log: used", "dialog: beforeunload -> stayed"));
    EXPECT_THAT(
        leave("accept", "second\n"),
        ElementsAre("console.log: used", "dialog: beforeunload -> left", "console.log: second"));
}

}  // namespace
