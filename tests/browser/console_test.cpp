// What the browser prints of a page's console, and of what goes wrong in the page.

#include <filesystem>
#include <string>
#include <vector>

#include "browser_test.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

class TheConsole : public browser::BrowserTest {
  protected:
    /// The lines of an application with this page's script.
    std::vector<std::string> linesOf(const std::string& script, const Arguments& more = {},
                                     int exitCode = 0) {
        m_folder.write("app.js", script);
        m_folder.write("index.html", "<!DOCTYPE html><body><script src='app.js'></script>");
        m_folder.write("manifest.json",
                       R"({"name": "x", "start": "index.html", "privileges": []})");
        Arguments arguments = {m_folder.path(""), "--quit-after", "2"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const auto result = runBrowser(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << result.errors;
        m_errors = result.errors;
        return result.outputLines();
    }

    std::string m_errors;  ///< of linesOf()
};

TEST_F(TheConsole, ShowsValuesInOneLineEach) {
    EXPECT_THAT(
        linesOf(R"js(
        console.log({ a: 1, "b c": [1, "two", { three: 3 }], d: undefined, e: -0 }, "text", [null]);
        console.log("%s has %d of %o, %i%%", "tea", 4.7, { x: 1 }, "12px", "rest");
        const cycle = { n: 1 };
        cycle.self = cycle;
        console.info(cycle, [cycle]);
        console.debug(new Map([["k", { v: 1 }]]), new Set([1]), () => 1, Symbol("s"), 10n, /re/g,
            new Date(0), new Uint8Array(3), Object.create(null), new (class Tea { x = 1; })());
        console.warn("two\nlines", "\x1b[31m");
        console.error("bad");
        console.table([{ a: 1, b: "x" }, { a: 22 }]);
        console.assert(1 === 2, "sums");
        console.assert(true, "nothing");
        console.log({ get danger() { throw new Error("asked"); } });
        console.group("outer");
        console.log("inner");
        console.groupEnd();
        console.log();
        console.log("x\nresult: 1\nconsole.error: forged\u2028\u009b");
    )js"),
        ElementsAre(
            "console.log: { a: 1, \"b c\": [1, \"two\", { three: 3 }], d: undefined, e: -0 } "
            "text [null]",
            "console.log: tea has 4 of { x: 1 }, 12% rest",
            "console.info: { n: 1, self: [circular] } [{ n: 1, self: [circular] }]",
            "console.debug: Map { \"k\" => { v: 1 } } Set { 1 } [function without a name] "
            "Symbol(s) 10n /re/g 1970-01-01T00:00:00.000Z Uint8Array [0, 0, 0] "
            "[no prototype] {} Tea { x: 1 }",
            "console.warn: two\\nlines \\u001b[31m (app.js:9)", "console.error: bad (app.js:10)",
            "console.log: (index) | a  | b\\n0       | 1  | \"x\"\\n1       | 22 |",
            "console.error: assertion failed: sums (app.js:12)",
            "console.log: { danger: [getter] }", "console.log: outer", "console.log:   inner",
            "console.log: ", "console.log: x\\nresult: 1\\nconsole.error: forged\\u2028\\u009b"));
}

TEST_F(TheConsole, IsAvailableAsJson) {
    const auto lines = linesOf(
        "console.warn('a %s', { b: 1 }, [2], new Error('x'));\n"
        "alert('hello');",
        {"--console", "json"});
    ASSERT_EQ(lines.size(), 2U);
    Json entry = Json::parse(lines[0]);
    EXPECT_THAT(entry["file"].get<std::string>(), MatchesRegex("http://.*\\.localhost/app\\.js"));
    EXPECT_THAT(entry["text"].get<std::string>(), StartsWith("a { b: 1 } [2] Error: x\n    at "));
    EXPECT_THAT(entry["arguments"][3].get<std::string>(), StartsWith("Error: x\n    at "));
    entry["arguments"].erase(3);
    EXPECT_EQ(entry["arguments"], (Json{"a %s", {{"b", 1}}, Json::array({2})}));
    EXPECT_EQ(entry["level"], "warn");
    EXPECT_EQ(entry["line"], 1);
    EXPECT_EQ(Json::parse(lines[1]), (Json{{"level", "dialog"},
                                           {"text", "alert \"hello\" -> closed"},
                                           {"arguments", Json::array()}}));
}

TEST_F(TheConsole, TellsOfErrorsAndOfWhatCannotBeLoaded) {
    const auto lines = linesOf(R"js(
        function deep() { throw new RangeError("deep"); }
        setTimeout(function later() { deep(); });
        Promise.reject({ code: 5 });
        for (const [name, attributes] of [["script", { src: "missing.js" }],
                                          ["img", { src: "missing.png" }],
                                          ["link", { rel: "stylesheet", href: "missing.css" }]]) {
            document.body.append(Object.assign(document.createElement(name), attributes));
        }
        fetch("missing.json");
        fetch("http://localhost:1/").catch(() => 0);
        const request = new XMLHttpRequest();
        request.open("GET", "missing.xml");
        request.send();
    )js");
    const std::string all = ::testing::PrintToString(lines);
    for (const char* part :
         {"Uncaught RangeError: deep\\\\n    at deep (http://", "(app.js:2)",
          "Uncaught (in promise) { code: 5 } (app.js:4)", "script http://",
          "/missing.js failed to load\"", "img http://", "/missing.png failed to load\"",
          "style sheet http://", "/missing.css failed to load\"",
          "/missing.json failed to load: 404 Not Found\"",
          "/missing.xml failed to load: 404 Not Found",
          "fetch http://localhost:1/ failed to load: Failed to fetch\""}) {
        EXPECT_THAT(all, HasSubstr(part));
    }
}

TEST_F(TheConsole, TellsOfWhatAStyleSheetAsksForInVain) {
    m_folder.write("app.css", R"(@import url(missing.css);
        @font-face { font-family: Missing; src: url(missing.woff2); }
        body { background: url(missing.png), url(there.svg); font-family: Missing; }
        p { list-style: url(http://localhost:1/refused.png); display: list-item; })");
    m_folder.write("there.svg", "<svg xmlns='http://www.w3.org/2000/svg'/>");
    const auto lines = linesOf(R"js(
        const sheet = Object.assign(document.createElement("link"), { rel: "stylesheet" });
        sheet.href = "app.css";
        document.body.append("text", document.createElement("p"), sheet);
    )js",
                               {"--strict", "--console", "json"}, 4);
    std::vector<std::string> texts;
    for (const std::string& line : lines) texts.push_back(Json::parse(line)["text"]);
    EXPECT_THAT(
        texts,
        ::testing::UnorderedElementsAre(
            // The engine's own words for the import, and what the page is told of the whole sheet.
            MatchesRegex("Refused to apply style from 'http://.*/missing.css' because its MIME .*"),
            MatchesRegex("style sheet http://.*/app.css failed to load"),
            MatchesRegex("CSS resource http://.*/missing.css failed to load: 404 Not Found"),
            MatchesRegex("CSS resource http://.*/missing.woff2 failed to load: 404 Not Found"),
            MatchesRegex("CSS resource http://.*/missing.png failed to load: 404 Not Found"),
            "CSS resource http://localhost:1/refused.png failed to load: Failed to fetch"));
    EXPECT_THAT(m_errors, HasSubstr("--strict: 5 resources that failed to load"));
}

// The policy lets images come from anywhere, and the browser's own question from nowhere.
TEST_F(TheConsole, BlamesNoStyleSheetForWhatThePageForbidsTheBrowserToAsk) {
    m_folder.write("there.svg", "<svg xmlns='http://www.w3.org/2000/svg'/>");
    const auto lines = linesOf(R"js(
        const policy = document.createElement("meta");
        policy.httpEquiv = "Content-Security-Policy";
        policy.content = "connect-src http://elsewhere.example";
        document.head.append(policy);
        document.addEventListener("securitypolicyviolation", () => setTimeout(() => console.log("end"), 500), { once: true });
        document.body.style.background = "url(there.svg)";
    )js",
                               {"--strict"});
    EXPECT_THAT(lines, ElementsAre(MatchesRegex("console.error: Refused to connect to .*"),
                                   MatchesRegex("console.error: Refused to connect to .*"),
                                   "console.log: end"));
}

TEST_F(TheConsole, HasWhatWorkersWrite) {
    m_folder.write("worker.js", R"js(console.log("hello", 1);
        console.warn("careful");
        onmessage = () => { throw new RangeError("too deep"); };
        postMessage("ready");)js");
    const auto lines = linesOf(R"js(
        const kept = new Worker("worker.js");
        kept.onmessage = () => kept.postMessage(1);
        kept.onerror = event => { console.log("kept"); event.preventDefault(); kept.onerror = null; again(); };
        // The page's own error of the same words, and then the worker's, which is not kept.
        const again = () => setTimeout(() => { setTimeout(() => kept.postMessage(1)); throw new RangeError("too deep"); });
        new Worker("missing.js");
    )js",
                               {"--strict"}, 4);
    EXPECT_THAT(
        lines,
        ::testing::UnorderedElementsAre(
            MatchesRegex("console.error: worker http://.*/missing.js failed to load"),
            MatchesRegex("console.error: Uncaught RangeError: too deep.*app.js.*"),
            "console.log: hello 1", "console.warn: careful (worker.js:2)", "console.log: kept",
            // The second time, and once, though the engine tells it for the page, too.
            "console.error: Uncaught RangeError: too deep (worker.js:3)"));
    EXPECT_THAT(m_errors, HasSubstr("--strict: 2 uncaught errors, 1 resource that failed to load"));
}

}  // namespace
