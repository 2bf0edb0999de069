// Runs that nobody watches: they end by themselves, and their exit code tells how it went.

#include <chrono>
#include <filesystem>
#include <string>

#include "browser_test.h"
#include "module_path.h"
#include "server/folder_server.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

constexpr char kTimeout[] = "20";  // seconds; a cold and busy machine takes half of them to start

class AnUnattendedRun : public browser::BrowserTest {
  protected:
    /// An application with one page. @return its folder.
    std::string make(const std::string& page) {
        std::filesystem::create_directories(m_folder.path("app"));
        m_folder.write("app/index.html", "<!DOCTYPE html><body>" + page);
        m_folder.write("app/manifest.json",
                       R"({"name": "x", "start": "index.html", "privileges": []})");
        return m_folder.path("app");
    }

    std::string script(const std::string& body, const std::string& name = "script.js") {
        return m_folder.write(name, body);
    }

    /// As runBrowser(), but as a command of a shell: `command` holds "$@", and may hold "$0".
    support::ProcessResult runInShell(const std::string& command, const Arguments& arguments,
                                      const std::string& zero = "sh") {
        Arguments all = {"/bin/sh",
                         "-c",
                         command,
                         zero,
                         support::builtPath("bin/sso-browser"),
                         "--module",
                         support::modulePath(),
                         "--account",
                         m_folder.write("nobody.json", "{}")};
        all.insert(all.end(), arguments.begin(), arguments.end());
        support::ProcessOptions options;
        options.environment = {"DISPLAY=", "WAYLAND_DISPLAY="};
        return support::runProcess(all, options);
    }
};

TEST_F(AnUnattendedRun, EndsWhenItsScriptsHaveSettled) {
    support::ProcessOptions options;
    options.input = "window.second = window.first + 1; return window.second;";
    const auto result = runBrowser(
        {make(""), "--run-script", script("window.first = 1;", "one.js"), "--run-script", "-",
         "--run-script", script("await null; return [window.second + 1, '\\u009b'];", "three.js")},
        options);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(result.outputLines(),
                ElementsAre("result: null", "result: 2", "result: [3,\"\\u009b\"]"));
}

TEST_F(AnUnattendedRun, StopsAtTheFirstScriptThatFails) {
    const auto result = runBrowser({make(""), "--run-script", script("throw 1;", "one.js"),
                                    "--run-script", script("return 2;", "two.js")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.outputLines(), IsEmpty());
    EXPECT_THAT(result.errorLines(), ElementsAre("sso-browser: script error: 1"));
}

TEST_F(AnUnattendedRun, NamesTheLineOfASyntaxError) {
    const auto result =
        runBrowser({make(""), "--run-script", script("const a = 1;\n\nreturn a +* 2;\na();")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errorLines(),
                ElementsAre("sso-browser: script error: SyntaxError: Unexpected token '*' "
                            "(script.js:3)"));
    EXPECT_THAT(result.outputLines(), IsEmpty());
}

TEST_F(AnUnattendedRun, NamesTheScriptThatDidNotEnd) {
    const auto waiting = runBrowser({make(""), "--timeout", kTimeout, "--run-script",
                                     script("await new Promise(() => 0);", "wait.js"),
                                     "--screenshot", m_folder.path("end.png")});
    EXPECT_EQ(waiting.exitCode, 3);
    EXPECT_THAT(
        waiting.errorLines(),
        ElementsAre("sso-browser: not done after 20 s; still awaited: the end of the script "
                    "wait.js"));
    EXPECT_EQ(m_folder.read("end.png").substr(1, 3), "PNG");
}

TEST_F(AnUnattendedRun, NamesThePageThatWasNotLoaded) {
    const auto hanging =
        runBrowser({make("<script>alert('x'); for (;;);</script>"), "--timeout", kTimeout});
    EXPECT_EQ(hanging.exitCode, 3);
    EXPECT_THAT(hanging.outputLines(), ElementsAre("dialog: alert \"x\" -> closed"));
    EXPECT_THAT(
        hanging.errorLines(),
        ElementsAre(MatchesRegex("sso-browser: not done after 20 s; still awaited: "
                                 "http://app-[0-9a-f]+[.]localhost/index.html to be loaded")));
}

TEST_F(AnUnattendedRun, AnswersWhatPagesAsk) {
    const std::string app = make(R"(<script>
        const answers = [alert("a\nb"), confirm("sure?"), prompt("name?", "robin")];
        const asked = Notification.requestPermission();
        </script>)");
    const std::string asking = script("answers.push(await asked); return answers;");
    const auto no = runBrowser({app, "--run-script", asking});
    EXPECT_EQ(no.exitCode, 0) << no.errors;
    EXPECT_THAT(
        no.outputLines(),
        ::testing::IsSupersetOf(
            {"dialog: alert \"a\\nb\" -> closed", "dialog: confirm \"sure?\" -> dismissed",
             "dialog: prompt \"name?\" -> dismissed", "dialog: permission Notifications -> denied",
             "result: [null,false,null,\"denied\"]"}));
    const auto yes = runBrowser({app, "--run-script", asking, "--dialogs", "accept"});
    EXPECT_THAT(yes.outputLines(),
                ::testing::IsSupersetOf({"dialog: confirm \"sure?\" -> accepted",
                                         "dialog: prompt \"name?\" -> accepted with \"robin\"",
                                         "result: [null,true,\"robin\",\"granted\"]"}));
}

TEST_F(AnUnattendedRun, FailsStrictlyForWhatElseItForgives) {
    const std::string app = make(R"(<script>setTimeout(() => { throw new Error("x"); });</script>
                                    <script src="missing.js"></script>)");
    const std::string done = script("return await new Promise(done => setTimeout(done, 200, 1));");
    EXPECT_EQ(runBrowser({app, "--run-script", done}).exitCode, 0);
    const auto strict = runBrowser({app, "--run-script", done, "--strict"});
    EXPECT_EQ(strict.exitCode, 4);
    EXPECT_THAT(strict.errorLines(),
                ElementsAre("sso-browser: --strict: 1 uncaught error, 1 resource "
                            "that failed to load"));
    EXPECT_EQ(runBrowser({make(""), "--run-script", done, "--strict"}).exitCode, 0);
}

TEST_F(AnUnattendedRun, FailsWhenItsOutputIsLost) {
    const Arguments arguments = {make(""), "--run-script", script("return 1;")};
    const auto full = runInShell("exec \"$@\" >/dev/full", arguments);
    EXPECT_EQ(full.exitCode, 1);
    EXPECT_THAT(full.errorLines(), ElementsAre("sso-browser: cannot write to standard output: No "
                                               "space left on device"));
    const auto closed = runInShell("exec \"$@\" >&-", arguments);
    EXPECT_EQ(closed.exitCode, 1);
    EXPECT_THAT(closed.errorLines(),
                ElementsAre("sso-browser: cannot write to standard output: Bad file descriptor"));
    const auto deaf = runInShell("exec \"$@\" <&-", arguments);
    EXPECT_EQ(deaf.exitCode, 0) << deaf.errors;
    EXPECT_EQ(runInShell("exec \"$@\" <&-", {make(""), "--run-script", "-"}).exitCode, 2);
}

TEST_F(AnUnattendedRun, EndsWithItsWindow) {
    const std::string app = make("<script>onload = () => window.close();</script>");
    const auto result = runBrowser({app});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(result.errorLines(), IsEmpty());
    const auto cut = runBrowser({app, "--run-script", script("return 1;")});
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_THAT(cut.errors, HasSubstr("sso-browser: the window was closed; still awaited: "));
}

TEST_F(AnUnattendedRun, SaysWhyAPageCannotBeLoaded) {
    browser::FolderServer server(0);
    const std::string host = "127.0.0.1:" + std::to_string(server.port());
    server.add(host, m_folder.path(""));
    server.start();
    const auto missing = runBrowser({"http://" + host + "/no.html"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.errorLines(),
                ElementsAre("sso-browser: http://" + host +
                            "/no.html cannot be loaded: the server answers 404 Not Found"));
    const auto refused = runBrowser({"http://localhost:1/"});
    EXPECT_THAT(refused.errorLines(),
                ElementsAre("sso-browser: http://localhost:1/ cannot be loaded: the connection is "
                            "refused, so nothing listens there"));
    const auto unknown = runBrowser({"http://nowhere.invalid/"});
    EXPECT_THAT(
        unknown.errorLines(),
        ElementsAre("sso-browser: http://nowhere.invalid/ cannot be loaded: there is no host "
                    "of this name"));
}

TEST_F(AnUnattendedRun, SaysThatACertificateCannotBeTrusted) {
    // A server that has signed its own, on a port that the system gives it.
    const auto result = runInShell(
        R"(cd "$0" && : >server && openssl req -x509 -newkey rsa:2048 -nodes -keyout key.pem -out cert.pem \
              -subj /CN=localhost 2>/dev/null || exit 70
           openssl s_server -accept 127.0.0.1:0 -key key.pem -cert cert.pem -www >server 2>&1 &
           until port=$(sed -n 's/^ACCEPT 127.0.0.1://p' server) && [ -n "$port" ]; do sleep 0.1; done
           "$@" "https://localhost:$port/"; end=$?
           kill $!; exit $end)",
        {}, m_folder.path(""));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errorLines(),
                ElementsAre(MatchesRegex(
                    "sso-browser: https://localhost:[0-9]+/ cannot be loaded: its certificate "
                    "cannot be trusted, or it speaks no TLS")));
}

TEST_F(AnUnattendedRun, KeepsWhatPagesStoreInAProfileOnly) {
    const std::string app = make("");
    const std::string counting = script(
        "localStorage.n = Number(localStorage.n || 0) + 1; const before = document.cookie;"
        "document.cookie = 'c=' + localStorage.n; return [localStorage.n, before];");
    const Arguments plain = {app, "--run-script", counting};
    Arguments keeping = plain;
    keeping.insert(keeping.end(), {"--profile", m_folder.path("profile")});
    EXPECT_EQ(runBrowser(keeping).output, "result: [\"1\",\"\"]\n");
    EXPECT_EQ(runBrowser(keeping).output, "result: [\"2\",\"c=1\"]\n");
    EXPECT_EQ(runBrowser(plain).output, "result: [\"1\",\"\"]\n");
}

TEST_F(AnUnattendedRun, OpensWindowsThatHaveThePluginToo) {
    const auto result =
        runBrowser({SSO_TEST_PAGE, "--grant", "partner", "--run-script", script(R"js(
        const opened = window.open("frame.html");
        opened.opener = null;
        const started = Date.now();
        while (!opened.plugin && !opened.eval("typeof plugin !== 'undefined'")) {
            await new Promise(done => setTimeout(done, 20));
        }
        return opened.eval("plugin.call({ command: 'sso_plugin_getVersion' }).value");
    )js")});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.outputLines().back(), "result: \"1.1\"");
}

}  // namespace
