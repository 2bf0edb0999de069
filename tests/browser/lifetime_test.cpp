// Embeds that come and go.

#include <string>

#include "browser_test.h"
#include "module_path.h"
#include "process_figures.h"

namespace {

const nlohmann::json kVersion = {
    {"code", 0}, {"errorName", ""}, {"errorMessage", ""}, {"value", "1.1"}};

using AnEmbedInTheBrowser = browser::BrowserTest;

TEST_F(AnEmbedInTheBrowser, AnswersItsOwnPageElementOnly) {
    const Json result = runScript(R"js(
        const one = new Embedding();
        const other = new Embedding();
        const login = { command: "sso_plugin_show_login_page", data: "x" };
        const answers = [];
        one.post(login);
        answers.push(other.call({ command: "sso_plugin_getVersion" }));
        other.post({});
        other.post("no dictionary");
        answers.push(await other.next(), await other.next(), await one.next());
        other.post(login);
        answers.push(await other.next());
        return { answers, received: [one.received, other.received] };
    )js");
    const Json login = {{"command", "sso_plugin_show_login_page"}, {"status", 0}, {"state", 2}};
    EXPECT_EQ(result["answers"], Json::array({kVersion,
                                              {{"status", -1},
                                               {"errorName", "commandInvaild"},
                                               {"errorMessage", "Parameter command is invalid"}},
                                              {{"status", -1},
                                               {"errorName", "paramInvaild"},
                                               {"errorMessage", "Incoming message is invalid"}},
                                              login,
                                              login}));
    EXPECT_EQ(result["received"], Json::array({1, 3}));
}

TEST_F(AnEmbedInTheBrowser, AnswersAFloodInOrder) {
    const Json result = runScript(R"js(
        const plugin = new Embedding();
        const count = 5000;
        for (let i = 0; i < count; ++i) plugin.post({ command: "no " + i });
        let inOrder = true;
        for (let i = 0; i < count; ++i) {
            inOrder = (await plugin.next()).command === "no " + i && inOrder;
        }
        return { inOrder, received: plugin.received };
    )js");
    EXPECT_EQ(result, (Json{{"inOrder", true}, {"received", 5000}}));
}

TEST_F(AnEmbedInTheBrowser, MayGoWhileItsMessagesAreUnderWay) {
    const Json result = runScript(R"js(
        const removed = [];
        let alive = 0;
        for (let round = 0; round < 20; ++round) {
            const plugin = new Embedding();
            const before = plugin.call({ command: "sso_plugin_getVersion" });
            for (let i = 0; i < 50; ++i) {
                plugin.post({ command: "sso_plugin_show_login_page", data: "x" });
                plugin.post({});
            }
            const received = plugin.received;
            plugin.remove();
            removed.push({ plugin, received });
            if (before.value === "1.1") alive += 1;
        }
        // One more round trip behind all of them, through the same process.
        const last = await new Embedding().ask(
            { command: "sso_plugin_show_login_page", data: "x" });
        const late = removed.filter(({ plugin, received }) => plugin.received !== received).length;
        return { alive, late, last };
    )js");
    EXPECT_EQ(result["alive"], 20);
    EXPECT_EQ(result["late"], 0) << "a removed element gets nothing any more";
    EXPECT_EQ(result["last"],
              (Json{{"command", "sso_plugin_show_login_page"}, {"status", 0}, {"state", 2}}));
}

TEST_F(AnEmbedInTheBrowser, ComesBackWhenItsFrameIsReloaded) {
    const Json result = runScript(R"js(
        const frame = document.createElement("iframe");
        const versions = [];
        const next = () => new Promise(
            resolve => window.addEventListener("message", event => resolve(event.data),
                                               { once: true }));
        let version = next();
        frame.src = "frame.html";
        document.body.append(frame);
        for (let i = 0; i < 20; ++i) {
            versions.push(await version);
            version = next();
            frame.src = "frame.html";
        }
        versions.push(await version);
        return versions;
    )js");
    EXPECT_EQ(result, Json(std::vector<std::string>(21, "1.1")));
}

TEST_F(AnEmbedInTheBrowser, ComesBackWhenItsPageIsReloaded) {
    // The page reloads itself, so there is no script to wait for: the console tells.
    support::ProcessOptions options;
    const auto result = runBrowser({SSO_TEST_PAGE, "--manifest", SSO_TEST_PAGE "/reloading.json",
                                    "--grant", "partner", "--quit-after", "8"},
                                   options);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    Arguments expected;
    for (int load = 1; load <= 5; ++load) {
        expected.push_back("console.log: load " + std::to_string(load) + ": 1.1");
    }
    EXPECT_EQ(result.outputLines(), expected);
}

TEST_F(AnEmbedInTheBrowser, ComesBackWhenItsElementMovesOrIsHidden) {
    const Json result = runScript(R"js(
        const plugin = new Embedding();
        const versions = [plugin.call({ command: "sso_plugin_getVersion" }).value];
        const box = document.createElement("div");
        document.body.append(box);
        box.append(plugin.element);
        versions.push(plugin.call({ command: "sso_plugin_getVersion" }).value);
        plugin.element.style.display = "none";
        document.body.offsetTop;
        plugin.element.style.display = "";
        document.body.offsetTop;
        versions.push(plugin.call({ command: "sso_plugin_getVersion" }).value);
        return versions;
    )js");
    EXPECT_EQ(result, Json::array({"1.1", "1.1", "1.1"}));
}

TEST_F(AnEmbedInTheBrowser, OwesNothingWhenItsElementHasMoved) {
    const Json result = runScript(R"js(
        const plugin = new Embedding();
        const login = { command: "sso_plugin_show_login_page", data: "x" };
        plugin.post(login);
        plugin.call({ command: "sso_plugin_getVersion" });  // it is under way
        const before = plugin.received;
        const box = document.createElement("div");
        document.body.append(box);
        box.append(plugin.element);
        const answer = await plugin.ask(login);
        await new Promise(done => setTimeout(done, 1000));
        return { before, answer, after: plugin.received };
    )js",
                                  {"--grant", "partner", "--strict"});
    EXPECT_EQ(
        result,
        (Json{{"before", 0},
              {"answer", {{"command", "sso_plugin_show_login_page"}, {"status", 0}, {"state", 2}}},
              {"after", 1}}));
}

TEST_F(AnEmbedInTheBrowser, LeavesNothingBehindInAThousandCycles) {
    // The plug-in's process is measured when the page says so: after a hundred cycles, when every
    // cache is warm, and after a thousand more.
    browser::ProcessFigures warm;
    browser::ProcessFigures done;
    support::ProcessOptions options;
    options.onOutput = [&](pid_t browser, const std::string& output) {
        if (!warm.known() && output.find("console.log: warm\n") != std::string::npos) {
            warm = browser::figuresOfPluginProcess(browser, support::modulePath());
        }
        if (!done.known() && output.find("console.log: done\n") != std::string::npos) {
            done = browser::figuresOfPluginProcess(browser, support::modulePath());
        }
    };
    const Json result =
        runScript(R"js(
        let right = 0;
        const cycle = async number => {
            const plugin = new Embedding();
            const version = plugin.call({ command: "sso_plugin_getVersion" }).value;
            const answer = await plugin.ask({});
            plugin.post({ command: "sso_plugin_show_login_page", data: "x" });
            plugin.remove();
            if (version === "1.1" && answer.errorName === "commandInvaild") right += 1;
        };
        for (let i = 0; i < 100; ++i) await cycle();
        console.log("warm");
        for (let i = 0; i < 1000; ++i) await cycle();
        console.log("done");
        return right;
    )js",
                  {"--grant", "partner", "--quit-after", "2", "--timeout", "200"}, options);
    EXPECT_EQ(result, 1100);
    ASSERT_TRUE(warm.known());
    ASSERT_TRUE(done.known());
    RecordProperty("residentKiBWarm", std::to_string(warm.residentKiB));
    RecordProperty("residentKiBDone", std::to_string(done.residentKiB));
    // While the page goes on, one instance may be alive at the moment of measuring.
    EXPECT_LE(done.threads, warm.threads + 1);
    EXPECT_LE(done.descriptors, warm.descriptors + 2);
    EXPECT_LE(done.residentKiB, warm.residentKiB + 8L * 1024);
}

}  // namespace
