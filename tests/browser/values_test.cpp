// Values that only a page can make, on their way to the plug-in.

#include <string>

#include "browser_test.h"

namespace {

class APageInTheBrowser : public browser::BrowserTest {
  protected:
    static const Json& version() {
        static const Json reply = {
            {"code", 0}, {"errorName", ""}, {"errorMessage", ""}, {"value", "1.1"}};
        return reply;
    }
    static const Json& noCommand() {
        static const Json answer = {{"status", -1},
                                    {"errorName", "commandInvaild"},
                                    {"errorMessage", "Parameter command is invalid"}};
        return answer;
    }
};

TEST_F(APageInTheBrowser, SendsAMebibyteOfText) {
    const Json result = runScript(R"js(
        const plugin = new Embedding();
        const text = "\u00e4".repeat(1 << 19);
        const bytes = new TextEncoder().encode(text).length;
        const login = await plugin.ask({ command: "sso_plugin_show_login_page", data: text });
        const refused = await plugin.ask({ command: text });
        const version = plugin.call({ command: "sso_plugin_getVersion", data: text });
        const echoed = refused.command === text;
        delete refused.command;
        return { bytes, login, refused, echoed, version };
    )js");
    EXPECT_EQ(result["bytes"], 1024 * 1024);
    EXPECT_EQ(result["login"],
              (Json{{"command", "sso_plugin_show_login_page"}, {"status", 0}, {"state", 2}}));
    EXPECT_EQ(result["refused"], (Json{{"status", 18},
                                       {"errorName", "PrivilegeInvalid"},
                                       {"errorMessage", "You do not have the privilege"}}));
    EXPECT_EQ(result["echoed"], true);
    EXPECT_EQ(result["version"], version());
}

TEST_F(APageInTheBrowser, SendsDeeplyNestedValues) {
    const Json result = runScript(R"js(
        const plugin = new Embedding();
        const nest = (depth, wrap) => {
            let value = 1;
            for (let i = 0; i < depth; ++i) value = wrap(value);
            return value;
        };
        return [
            plugin.call({ command: "sso_plugin_getVersion", more: nest(2000, v => [v]) }),
            plugin.call({ command: "sso_plugin_getVersion", more: nest(2000, v => ({ v })) }),
            await plugin.ask(nest(2000, v => ({ v }))),
            await plugin.ask({ command: nest(2000, v => [v]) }),
        ];
    )js");
    EXPECT_EQ(result, Json::array({version(), version(), noCommand(), noCommand()}));
}

TEST_F(APageInTheBrowser, CannotSendACycleAndGoesOn) {
    const Json result = runScript(R"js(
        const plugin = new Embedding();
        const cycle = { command: "sso_plugin_getVersion" };
        cycle.self = cycle;
        const list = [];
        list.push(list);
        plugin.post(cycle);
        plugin.post(list);
        const thrown = [plugin.call(cycle), plugin.call(list)].map(reply => "thrown" in reply);
        // What comes next is the answer to this, and to nothing before it.
        return { thrown, next: await plugin.ask({}), left: plugin.messages };
    )js");
    EXPECT_EQ(result["thrown"], Json::array({true, true}));
    EXPECT_EQ(result["next"], noCommand());
    EXPECT_EQ(result["left"], Json::array());
    EXPECT_THAT(console(), ::testing::SizeIs(2)) << "each post that is not sent is told";
}

TEST_F(APageInTheBrowser, SendsALoneSurrogateAsNull) {
    const Json result = runScript(R"js(
        const plugin = new Embedding();
        return [
            await plugin.ask("\ud800"),
            plugin.call("\udc00"),
            await plugin.ask({ command: "sso_plugin_getVersion\ud800" }),
            plugin.call({ command: "\ud800" }),
            await plugin.ask({ command: "sso_plugin_show_login_page", data: "a\udfffb" }),
            plugin.call({ command: "sso_plugin_getVersion", "\ud800": "\ud800" }),
            await plugin.ask({ command: "sso_plugin_\ud83d\ude00" }),
        ];
    )js");
    EXPECT_EQ(result, Json::array({
                          {{"status", -1},
                           {"errorName", "paramInvaild"},
                           {"errorMessage", "Incoming message is invalid"}},
                          {{"code", 26},
                           {"errorName", "InvalidValuesError"},
                           {"errorMessage", "Incoming message is not dictionary"}},
                          noCommand(),
                          {{"code", 26},
                           {"errorName", "InvalidValuesError"},
                           {"errorMessage", "Parameter command is invalid"}},
                          {{"command", "sso_plugin_show_login_page"},
                           {"status", -1},
                           {"errorName", "paramInvaild"},
                           {"errorMessage", "Parameter is invalid"}},
                          version(),
                          {{"command", "sso_plugin_\xF0\x9F\x98\x80"},
                           {"status", 18},
                           {"errorName", "PrivilegeInvalid"},
                           {"errorMessage", "You do not have the privilege"}},
                      }));
}

TEST_F(APageInTheBrowser, SendsObjectsOfEveryKind) {
    // Most arrive as dictionaries without a command; an ArrayBuffer is none at all.
    const Json result = runScript(R"js(
        const plugin = new Embedding();
        const names = [];
        for (const value of [new Date(), /x/, new Map([["command", "x"]]), new Error("x"),
                             () => 1, new Uint8Array(4), new ArrayBuffer(1 << 20),
                             new String("text"), new Boolean(true), new Number(1), document.body,
                             Object.create({ command: "sso_plugin_getVersion" })]) {
            names.push((await plugin.ask(value)).errorName);
            names.push(plugin.call(value).errorMessage);
        }
        return names;
    )js");
    Json expected = Json::array();
    const auto add = [&](const char* posted, const char* asked) {
        expected.push_back(posted);
        expected.push_back(asked);
    };
    constexpr const char* kNoCommand = "Parameter command is invalid";
    constexpr const char* kNoDictionary = "Incoming message is not dictionary";
    for (int i = 0; i < 6; ++i) {
        add("commandInvaild", kNoCommand);
    }
    for (int i = 0; i < 4; ++i) {
        add("paramInvaild", kNoDictionary);
    }
    add("commandInvaild", kNoCommand);
    add("commandInvaild", kNoCommand);
    EXPECT_EQ(result, expected);
}

TEST_F(APageInTheBrowser, ReadsTheCommandOfAStringObject) {
    EXPECT_EQ(runScript(R"js(
        return new Embedding().call({ command: new String("sso_plugin_getVersion") });
    )js"),
              version());
}

}  // namespace
