// The browser's command line: what it refuses, and how it says so.

#include <filesystem>
#include <fstream>
#include <string>

#include "browser_test.h"
#include "module_path.h"
#include "page_server.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class TheBrowsersCommandLine : public browser::BrowserTest {
  protected:
    /// One clear line, before anything was started.
    void expectRefusal(const Arguments& arguments, const std::string& reason) {
        SCOPED_TRACE(reason);
        const auto result = runBrowser(arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.outputLines(), IsEmpty());
        EXPECT_THAT(result.errorLines(),
                    ElementsAre(AllOf(StartsWith("sso-browser: "), HasSubstr(reason))));
    }
};

TEST_F(TheBrowsersCommandLine, ExplainsItself) {
    const auto result = runBrowser({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    for (const char* option :
         {"--module", "--grant", "--manifest", "--account", "--log", "--screenshot", "--quit-after",
          "--run-script", "--size", "--messages", "--pseudonyms"}) {
        EXPECT_THAT(result.output, HasSubstr(option));
    }
}

TEST_F(TheBrowsersCommandLine, RefusesAModuleThatIsNotThere) {
    const auto result = support::runProcess(
        {support::builtPath("bin/sso-browser"), SSO_TEST_PAGE, "--module", "/nowhere/libsso.so"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errorLines(),
                ElementsAre(AllOf(StartsWith("sso-browser: "), HasSubstr("/nowhere/libsso.so"))));
}

TEST_F(TheBrowsersCommandLine, RefusesAModuleThatIsNone) {
    const std::string text = m_folder.write("text.so", "no library");
    const auto result = support::runProcess(
        {support::builtPath("bin/sso-browser"), SSO_TEST_PAGE, "--module", text});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errorLines(),
                ElementsAre(AllOf(StartsWith("sso-browser: "), HasSubstr(text))));
}

TEST_F(TheBrowsersCommandLine, RefusesALibraryThatIsNoModule) {
    const std::string library = support::builtPath("lib/libvconf.so");
    const auto result = support::runProcess(
        {support::builtPath("bin/sso-browser"), SSO_TEST_PAGE, "--module", library});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errorLines(),
                ElementsAre(AllOf(StartsWith("sso-browser: "), HasSubstr(library),
                                  HasSubstr("entry point"))));
}

TEST_F(TheBrowsersCommandLine, RefusesAFolderThatIsNotThere) {
    expectRefusal({"/nowhere/app"}, "/nowhere/app");
}

TEST_F(TheBrowsersCommandLine, RefusesAFolderWithoutAManifest) {
    std::ofstream(m_folder.path("index.html")) << "<title>x</title>";
    expectRefusal({m_folder.path("")}, "manifest.json");
}

TEST_F(TheBrowsersCommandLine, RefusesABadManifest) {
    m_folder.write("manifest.json", R"({"name": "x", "privileges": []})");
    expectRefusal({m_folder.path("")}, "start: is missing");
    m_folder.write("manifest.json", "{");
    expectRefusal({m_folder.path("")}, "manifest.json");
    m_folder.write("manifest.json",
                   R"({"name": "x", "start": "../outside.html", "privileges": []})");
    expectRefusal({m_folder.path("")}, "start: must name a file inside");
    m_folder.write("manifest.json",
                   R"({"name": "x", "start": "index.html", "privileges": ["nonsense"]})");
    expectRefusal({m_folder.path("")}, "nonsense");
}

TEST_F(TheBrowsersCommandLine, RefusesAnAccountThatIsNone) {
    expectRefusal({SSO_TEST_PAGE, "--account", "/nowhere/account.json"}, "/nowhere/account.json");
    const std::string account = m_folder.write("account.json", "{\n\"signedIn\": 1}");
    expectRefusal({SSO_TEST_PAGE, "--account", account}, "account.json:2: signedIn: ");
}

TEST_F(TheBrowsersCommandLine, FindsAnAccountFromAnyFolder) {
    support::ProcessOptions options;
    options.environment = {"SSO_ACCOUNT_FILE=/nowhere/else.json"};  // the option comes before it
    const std::string account =
        std::filesystem::relative(SSO_SOURCE_DIR "/account/examples/signed-in.json");
    const Json reply =
        runScript("return new Embedding().call({ command: 'sso_plugin_getLoginUid' }).value;",
                  {"--grant", "partner", "--account", account}, options);
    EXPECT_EQ(reply, "uid-robin");
}

TEST_F(TheBrowsersCommandLine, RefusesAPrivilegeThatNobodyKnows) {
    expectRefusal({SSO_TEST_PAGE, "--grant", "nonsense"}, "nonsense");
}

TEST_F(TheBrowsersCommandLine, RefusesAManifestForSeveralApplications) {
    const std::string manifest = SSO_TEST_PAGE "/manifest.json";
    expectRefusal({SSO_TEST_PAGE, SSO_TEST_DEMO, "--manifest", manifest}, "--manifest");
    expectRefusal({SSO_TEST_PAGE, SSO_TEST_DEMO, "--port", "4000"}, "--port");
}

TEST_F(TheBrowsersCommandLine, RefusesTheSameApplicationTwice) {
    expectRefusal({SSO_TEST_PAGE, SSO_TEST_PAGE "/../page"}, "same application");
    const std::string link = m_folder.path("link");
    std::filesystem::create_directory_symlink(SSO_TEST_PAGE, link);
    expectRefusal({SSO_TEST_PAGE, link}, "same application");
    expectRefusal({"http://user@localhost:1/a", "http://localhost:1/b?c#d"}, "same application");
}

TEST_F(TheBrowsersCommandLine, RefusesAFileAndSaysWhatToGive) {
    const std::string page = SSO_TEST_PAGE "/index.html";
    for (const std::string& target : {page, "file://" + page, std::string("file:///nowhere")}) {
        expectRefusal({target}, target + ": is a file; give the folder of the application");
    }
}

TEST_F(TheBrowsersCommandLine, SaysWhenTheSchemeIsMissing) {
    expectRefusal({"localhost:5173/app"}, "did you mean http://localhost:5173/app?");
    expectRefusal({"127.0.0.1:5173"}, "did you mean http://127.0.0.1:5173?");
}

TEST_F(TheBrowsersCommandLine, RefusesAStartPageOutsideTheFolder) {
    std::filesystem::create_directory(m_folder.path("app"));
    m_folder.write("outside.html", "");
    std::filesystem::create_symlink("../outside.html", m_folder.path("app/link.html"));
    m_folder.write("app/manifest.json", R"({"name": "x", "start": "link.html", "privileges": []})");
    expectRefusal({m_folder.path("app")}, "a link that leads out of the folder");
    m_folder.write("app/index.html", "");
    m_folder.write("app/manifest.json",
                   R"({"name": "x", "start": "index.html\u0000.js", "privileges": []})");
    expectRefusal({m_folder.path("app")}, "start: must be a text without \\u0000");
}

TEST_F(TheBrowsersCommandLine, RefusesAPortThatIsTaken) {
    const browser::PageServer taken("");
    const std::string origin = taken.origin();
    expectRefusal({SSO_TEST_PAGE, "--port", origin.substr(origin.rfind(':') + 1)},
                  "cannot be used: Address already in use");
}

TEST_F(TheBrowsersCommandLine, RefusesToGrantToPagesFromNowhere) {
    expectRefusal({"data:text/html,x", "--grant", "partner"}, "data:text/html,x");
}

TEST_F(TheBrowsersCommandLine, RefusesEachTargetThatIsWrong) {
    expectRefusal({SSO_TEST_PAGE, "/nowhere/app"}, "/nowhere/app");
}

TEST_F(TheBrowsersCommandLine, RefusesAScriptThatIsNotThere) {
    expectRefusal({SSO_TEST_PAGE, "--run-script", "/nowhere/script.js"}, "/nowhere/script.js");
}

TEST_F(TheBrowsersCommandLine, RefusesAScreenshotThatItCannotWrite) {
    expectRefusal({SSO_TEST_PAGE, "--screenshot", "/nowhere/picture.png"}, "/nowhere/picture.png");
}

TEST_F(TheBrowsersCommandLine, RefusesAWrongSize) {
    for (const char* size : {"1280", "0x0", "axb", "1280x800x2", "-1x5"}) {
        const auto result = runBrowser({SSO_TEST_PAGE, "--size", size});
        EXPECT_EQ(result.exitCode, 2) << size;
        EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("--size"))) << size;
    }
}

TEST_F(TheBrowsersCommandLine, SaysWhenAPageCannotBeLoaded) {
    m_folder.write("manifest.json", R"({"name": "x", "start": "missing.html", "privileges": []})");
    const auto result = runBrowser({m_folder.path(""), "--quit-after", "0"});
    EXPECT_NE(result.exitCode, 0);
    EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("missing.html")));
}

TEST_F(TheBrowsersCommandLine, SaysWhatAScriptThrew) {
    const std::string script = m_folder.write("script.js", "throw new Error('out of tea');");
    const auto result = runBrowser({SSO_TEST_PAGE, "--run-script", script});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, HasSubstr("script error: Error: out of tea"));
}

TEST_F(TheBrowsersCommandLine, GrantsNothingByItself) {
    const Json reply =
        runScript("return new Embedding().call({ command: 'sso_plugin_getVersion' });", {});
    EXPECT_EQ(reply, (Json{{"code", 18},
                           {"errorName", "SecurityError"},
                           {"errorMessage", "You do not have the privilege"}}));
}

TEST_F(TheBrowsersCommandLine, GrantsWhatAManifestDeclares) {
    const std::string manifest = m_folder.write(
        "other.json", R"({"name": "x", "start": "index.html", "privileges": ["sso.partner"]})");
    const Json reply =
        runScript("return new Embedding().call({ command: 'sso_plugin_getVersion' }).value;",
                  {"--manifest", manifest});
    EXPECT_EQ(reply, "1.1");
}

TEST_F(TheBrowsersCommandLine, PrintsThePagesConsole) {
    runScript("console.log('one'); console.warn('two'); console.error('three');");
    EXPECT_THAT(console(), ElementsAre("console.log: one", StartsWith("console.warn: two"),
                                       StartsWith("console.error: three")));
}

TEST_F(TheBrowsersCommandLine, ShowsThePluginsLogOnRequestOnly) {
    const std::string script = m_folder.write(
        "log.js", "return new Embedding().call({ command: 'sso_plugin_getVersion' }).code;");
    const Arguments quiet = {SSO_TEST_PAGE, "--run-script", script, "--quit-after", "0"};
    Arguments logging = quiet;
    logging.push_back("--log");
    constexpr char kLine[] = "HandleBlockingMessageImpl(284)";
    EXPECT_THAT(runBrowser(quiet).errors, ::testing::Not(HasSubstr(kLine)));
    EXPECT_THAT(runBrowser(logging).errors, HasSubstr(kLine));
}

}  // namespace
