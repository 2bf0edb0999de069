// What the browser prints of a page's console, and of what goes wrong in the page.

#include <filesystem>
#include <string>
#include <vector>

#include "browser_test.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

class TheConsole : public browser::BrowserTest {
  protected:
    /// The lines of an application with this page's script.
    std::vector<std::string> linesOf(const std::string& script, const Arguments& more = {}) {
        m_folder.write("app.js", script);
        m_folder.write("index.html", "<!DOCTYPE html><body><script src='app.js'></script>");
        m_folder.write("manifest.json",
                       R"({"name": "x", "start": "index.html", "privileges": []})");
        Arguments arguments = {m_folder.path(""), "--quit-after", "0.5"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const auto result = runBrowser(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return result.outputLines();
    }
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

}  // namespace
