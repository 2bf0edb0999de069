// The host's program: JSON lines in, JSON lines out.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/value.h"
#include "host/value_json.h"
#include "module_path.h"
#include "process.h"
#include "temporary_folder.h"

namespace {

using host::Value;
using support::builtPath;
using support::ProcessOptions;
using support::ProcessResult;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

using Words = std::vector<std::string>;

std::string program() { return builtPath("bin/sso-host"); }

/// Arguments that load one of the tests' modules.
Words module(const std::string& name) { return {"--module", builtPath("lib/lib" + name + ".so")}; }

ProcessResult run(const Words& arguments, const std::string& input = "",
                  std::chrono::seconds timeout = ProcessOptions().timeout) {
    Words command = {program()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    ProcessOptions options;
    options.input = input;
    options.timeout = timeout;
    return support::runProcess(command, options);
}

ProcessResult runLines(const Words& arguments, const Words& lines) {
    std::string input;
    for (const std::string& line : lines) input += line + '\n';
    return run(arguments, input);
}

/// The lines of the output without their time, which each but an error must have, and without what
/// they tell of the input.
std::vector<Value> eventsOf(const ProcessResult& result) {
    static const std::regex time(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z)");
    std::vector<Value> events;
    for (const std::string& line : result.outputLines()) {
        Value::Dictionary event = host::parseJson(line).asDictionary();
        if (event.count("error") == 0) {
            EXPECT_TRUE(std::regex_match(event.at("time").asString(), time)) << line;
            event.erase("time");
            event.erase("line");
            event.erase("command");
        }
        events.emplace_back(event);
    }
    return events;
}

Value event(int instance, const std::string& name, const Value& value) {
    return Value::Dictionary{{"instance", instance}, {name, value}};
}
Value reply(int instance, const Value& value) { return event(instance, "reply", value); }
Value message(int instance, const Value& value) { return event(instance, "message", value); }

MATCHER_P2(IsError, line, reason, "") {
    return arg.has("error") && arg["error"]["line"] == Value(line) &&
           ::testing::ExplainMatchResult(HasSubstr(reason), arg["error"]["reason"].asString(),
                                         result_listener);
}

TEST(TheHelp, TellsOptionsInputAndExitCodes) {
    const ProcessResult result = run({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, IsEmpty());
    for (const char* word :
         {"--module", "--grant", "--manifest", "--account", "--no-extension", "--log", "--linger",
          "--messages", "--pseudonyms", "--replay", "\"post\"", "\"call\"", "\"embed\"",
          "\"destroy\"", "\"unregister\"", "\"wait\"", "Exit code", "Examples"}) {
        EXPECT_THAT(result.output, HasSubstr(word));
    }
}

TEST(ACommandLine, WithAMistakeStartsNothing) {
    const std::vector<Words> mistakes = {
        {"--nonsense"},    {"word"},           {"--grant"},         {"--module"},
        {"--linger", "x"}, {"--linger", "-1"}, {"--linger", "nan"}, {"--grant", "root"},
        {"--replay"},      {"--pseudonyms"}};
    for (const Words& arguments : mistakes) {
        SCOPED_TRACE(arguments.back());
        const ProcessResult result = run(arguments, "{\"call\":1}\n");
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.output, IsEmpty());
        EXPECT_THAT(result.errors, Not(IsEmpty()));
    }
}

TEST(AnAccount, IsOnTheDevice) {
    const support::TemporaryFolder folder;
    const std::string account = folder.write("account.json", R"({
        "account": {"loginId": "a@b.example", "uid": "uid-1", "guid": "guid-1", "authToken": "t-1"}
    })");
    const ProcessResult result =
        runLines({"--grant", "partner", "--account", std::filesystem::relative(account)},
                 {R"({"call": {"command": "sso_plugin_getLoginUid"}})"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(eventsOf(result), ElementsAre(reply(1, host::parseJson(R"({
        "code": 0, "errorName": "", "errorMessage": "", "value": "uid-1"})"))));
}

TEST(AnAccount, ThatIsNoneStartsNothing) {
    const support::TemporaryFolder folder;
    const std::string account = folder.write("account.json", "{\n  \"account\": 7\n}");
    for (const std::string& path : {account, std::string("/no/such/account.json")}) {
        SCOPED_TRACE(path);
        const ProcessResult result = run({"--account", path}, "{\"call\":1}\n");
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.output, IsEmpty());
        EXPECT_THAT(result.errorLines(), ElementsAre(StartsWith("sso-host: " + path + ":")));
    }
}

TEST(AModule, ThatIsMissingIsToldInOneLine) {
    const ProcessResult result = run({"--module", "/no/such/module.so"}, "{\"call\":1}\n");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.errorLines(),
                ElementsAre(AllOf(StartsWith("sso-host: "), HasSubstr("/no/such/module.so"))));
}

TEST(AModule, ThatCannotBeStartedIsToldInOneLine) {
    for (const char* name :
         {"no_get_interface_module", "no_initialize_module", "init_refusing_module",
          "unresolved_module", "no_instance_module", "instance_refusing_module"}) {
        SCOPED_TRACE(name);
        const ProcessResult result = run(module(name));
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.output, IsEmpty());
        EXPECT_THAT(result.errorLines(), ElementsAre(StartsWith("sso-host: ")));
    }
}

TEST(ThePlugin, TellsItsVersionToAGrantedPage) {
    const std::string call = R"({"call":{"command":"sso_plugin_getVersion"}})";
    const ProcessResult granted = runLines({"--grant", "partner"}, {call});
    EXPECT_EQ(granted.exitCode, 0);
    EXPECT_THAT(granted.errors, IsEmpty());
    EXPECT_THAT(eventsOf(granted), ElementsAre(reply(1, Value::Dictionary{{"code", 0},
                                                                          {"value", "1.1"},
                                                                          {"errorName", ""},
                                                                          {"errorMessage", ""}})));

    const ProcessResult refused = runLines({}, {call});
    EXPECT_EQ(refused.exitCode, 0);
    ASSERT_THAT(eventsOf(refused), SizeIs(1));
    EXPECT_EQ(eventsOf(refused)[0]["reply"]["code"], Value(18));
}

TEST(ThePlugin, ShowsTheLoginPageForAPost) {
    const ProcessResult result = runLines(
        {"--grant", "partner"}, {R"({"post":{"command":"sso_plugin_show_login_page","data":"x"}})",
                                 R"({"wait":1,"timeout":30})"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(
        result.errorLines(),
        ElementsAre(
            "sso_api: there is no account, so nobody can sign in; --account FILE of sso-host "
            "and sso-browser gives one, such as account/examples/signed-out.json"));
    EXPECT_THAT(eventsOf(result),
                ElementsAre(message(1, Value::Dictionary{{"command", "sso_plugin_show_login_page"},
                                                         {"status", 0},
                                                         {"state", 2}})));
}

TEST(ThePlugin, TakesItsPrivilegesFromAManifestOrByName) {
    const support::TemporaryFolder folder;
    const std::string call = R"({"call":{"command":"sso_plugin_getVersion"}})";
    const std::string granting = folder.write(
        "manifest.json", R"({"name":"A","start":"index.html","privileges":["sso.partner"]})");
    const std::string silent =
        folder.write("poor.json", R"({"name":"A","start":"index.html","privileges":[]})");
    const auto codeFor = [&](const Words& arguments) {
        const std::vector<Value> events = eventsOf(runLines(arguments, {call}));
        return events.empty() ? Value() : events[0]["reply"]["code"];
    };
    EXPECT_EQ(codeFor({"--manifest", granting}), Value(0));
    EXPECT_EQ(codeFor({"--manifest", silent}), Value(18));
    EXPECT_EQ(codeFor({"--manifest", silent, "--grant", "sso.partner"}), Value(0));
    EXPECT_EQ(codeFor({"--manifest", granting, "--no-extension"}), Value(18));
    EXPECT_EQ(codeFor({"--grant", "http://other.example/privilege/sso.partner"}), Value(18));
}

TEST(AnInstance, HasThePrivilegesOfItsOwnApplication) {
    const support::TemporaryFolder folder;
    const std::string manifest = folder.write(
        "manifest.json", R"({"name":"A","start":"index.html","privileges":["sso.platform"]})");
    const std::string partner = R"({"call":{"command":"sso_plugin_getVersion"},"instance":)";
    const std::string platform = R"({"call":{"command":"sso_plugin_getSSOState"},"instance":)";
    Words lines = {R"({"embed":true,"grant":[]})", R"({"embed":true})",
                   R"({"embed":{"id":"x"},"manifest":")" + manifest + "\"}",
                   R"({"embed":true,"grant":["sso.partner"],"manifest":")" + manifest + "\"}"};
    for (const std::string& call : {partner, platform}) {
        for (int instance = 1; instance <= 5; ++instance) {
            lines.push_back(call + std::to_string(instance) + "}");
        }
    }
    const ProcessResult result = runLines({"--grant", "partner"}, lines);
    EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
    std::vector<int> refused;
    for (const Value& event : eventsOf(result)) {
        if (event.has("reply")) refused.push_back(event["reply"]["code"] == Value(18) ? 1 : 0);
    }
    EXPECT_THAT(refused, ElementsAre(0, 1, 0, 1, 0,    // partner
                                     1, 1, 1, 0, 0));  // platform
}

TEST(AnInstance, OfAnotherApplicationNeedsTheVendorInterface) {
    const ProcessResult result = runLines(
        {"--no-extension"}, {R"({"embed":true,"grant":["partner"]})", R"({"embed":true})"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(eventsOf(result),
                ElementsAre(IsError(1, "vendor interface"), event(2, "embedded", true)));
}

TEST(AManifest, ThatIsBadIsToldWithALineForEachMistake) {
    const support::TemporaryFolder folder;
    const std::vector<std::pair<std::string, std::string>> rows = {
        {folder.path("missing.json"), "missing.json"},
        {folder.write("text.json", "no JSON"), "text.json"},
        {folder.write("nameless.json", R"({"start":"i.html","privileges":[]})"), "name"},
        {folder.write("empty.json", "{}"), ":1: "},
        {folder.write("root.json", R"({"name":"A","start":"i","privileges":["root"]})"), "root"},
        {folder.write("far.json", R"({"name":"A","start":"../i.html","privileges":[]})"), "start"},
    };
    for (const auto& [path, word] : rows) {
        SCOPED_TRACE(path);
        const ProcessResult result = run({"--manifest", path}, "{\"call\":1}\n");
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.output, IsEmpty());
        EXPECT_THAT(result.errorLines(),
                    Each(AllOf(StartsWith("sso-host: " + path), HasSubstr(word))));
        EXPECT_THAT(result.errorLines(), SizeIs(path == folder.path("empty.json") ? 3 : 1));
    }
}

TEST(TheLog, IsShownOnRequest) {
    const std::string call = R"({"call":{"command":"sso_plugin_getVersion"}})";
    EXPECT_THAT(runLines({"--grant", "partner"}, {call}).errors, IsEmpty());
    const ProcessResult result = runLines({"--grant", "partner", "--log"}, {call});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, HasSubstr("CPluginSSO("));
    EXPECT_THAT(result.outputLines(), SizeIs(1));
}

TEST(ACall, IsAnsweredWithAReply) {
    const ProcessResult result = runLines(
        module("echo_module"),
        {R"({"call":"text"})", R"({"call":{"a":[1,2.5,null,true]},"instance":1,"timeout":30})",
         R"({"call":{"$type":"undefined"}})", R"({"call":{"$type":"double","value":"-0"}})",
         R"({"call":{"$type":"arraybuffer","bytes":[0,1,255]}})"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(
        eventsOf(result),
        ElementsAre(reply(1, "text"),
                    reply(1, Value::Dictionary{{"a", Value::Array{1, 2.5, Value::Null{}, true}}}),
                    reply(1, Value()), reply(1, -0.0), reply(1, Value::Buffer{0, 1, 255})));
}

TEST(ACall, ThatIsNotAnsweredInTimeIsAnError) {
    const ProcessResult result =
        runLines(module("stuck_module"), {R"({"call":1,"timeout":0.05})", R"({"destroy":1})"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(eventsOf(result),
                ElementsAre(IsError(1, "not answered in time"), event(1, "destroyed", true)));
}

TEST(ACall, ThatWasNotAnsweredInTimeIsNotWaitedForOnceMore) {
    const std::chrono::seconds timeout(20);  // less than a call has by itself
    const ProcessResult result =
        run(module("stuck_module"), "{\"call\":1,\"timeout\":0.05}\n", timeout);
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_THAT(eventsOf(result), ElementsAre(IsError(1, "not answered in time")));
}

TEST(APost, IsWaitedForAtTheEndOfTheInput) {
    const ProcessResult result =
        runLines(module("echo_module"), {R"({"post":1})", R"({"post":"two"})"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(eventsOf(result), ElementsAre(message(1, 1), message(1, "two")));
}

TEST(APost, ThatIsAnsweredIsWaitedForNoLonger) {
    Words arguments = module("echo_module");
    arguments.insert(arguments.end(), {"--linger", "86400"});
    const ProcessResult result = run(arguments, "{\"post\":1}\n", std::chrono::seconds(20));
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(eventsOf(result), ElementsAre(message(1, 1)));
}

TEST(APost, WithoutAnAnswerIsNotWaitedForBeyondTheLinger) {
    Words arguments = module("stuck_module");
    arguments.insert(arguments.end(), {"--linger", "0"});
    const ProcessResult result = runLines(arguments, {R"({"post":1})"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_FALSE(result.timedOut);
    EXPECT_THAT(result.outputLines(),
                ElementsAre(R"({"error":{"line":1,"reason":"the post has no answer at the end of )"
                            R"(the run"}})"));
}

TEST(APost, IsAnsweredOrToldToHaveNoAnswerAlsoWhereThatComesAtTheEnd) {
    constexpr int kPosts = 1000;
    Words arguments = module("echo_module");
    arguments.insert(arguments.end(), {"--linger", "0"});
    const ProcessResult result = runLines(arguments, Words(kPosts, R"({"post":1})"));
    std::set<int> answered;
    std::set<int> withoutAnAnswer;
    for (const std::string& line : result.outputLines()) {
        const Value told = host::parseJson(line);
        if (told.has("error")) {
            withoutAnAnswer.insert(told["error"]["line"].asInt32());
        } else {
            EXPECT_EQ(told["message"], Value(1)) << line;
            EXPECT_TRUE(answered.insert(told["line"].asInt32()).second) << line;
        }
    }
    EXPECT_EQ(result.exitCode, withoutAnAnswer.empty() ? 0 : 1);
    answered.merge(withoutAnAnswer);
    ASSERT_THAT(answered, SizeIs(kPosts));
    EXPECT_EQ(*answered.begin(), 1);
    EXPECT_EQ(*answered.rbegin(), kPosts);
}

TEST(APost, WithoutAnAnswerIsToldWithItsCommand) {
    Words arguments = module("stuck_module");
    arguments.insert(arguments.end(), {"--linger", "0.01"});
    const ProcessResult result =
        runLines(arguments, {R"({"post":{"command":"first"}})", "", R"({"embed":true})",
                             R"({"post":{"command":"gone"},"instance":2})", R"({"destroy":2})",
                             R"({"post":{"command":"second"}})"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(eventsOf(result),
                ElementsAre(event(2, "embedded", true), event(2, "destroyed", true),
                            IsError(1, "the post has no answer at the end of the run"),
                            IsError(6, "the post has no answer at the end of the run")));
    const Words lines = result.outputLines();
    EXPECT_THAT(lines.at(2), HasSubstr(R"("command":"first")"));
    EXPECT_THAT(lines.at(3), HasSubstr(R"("command":"second")"));
}

TEST(AWait, TakesTheMessagesThatCameSinceTheLastOne) {
    const ProcessResult result = runLines(
        module("echo_module"), {R"({"post":1})", R"({"post":2})", R"({"wait":2})", R"({"post":3})",
                                R"({"wait":1,"timeout":30})", R"({"wait":1,"timeout":0})"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(eventsOf(result), ElementsAre(message(1, 1), message(1, 2), message(1, 3),
                                              IsError(6, "of 1 messages only 0 came")));
}

TEST(AnInstance, IsEmbeddedDestroyedAndUnregisteredByNumber) {
    const ProcessResult result =
        runLines(module("echo_module"),
                 {R"({"embed":true})", R"({"embed":{"id":"second","name":""}})",
                  R"({"call":1,"instance":2})", R"({"destroy":1})", R"({"call":2})",
                  R"({"call":3,"instance":3})", R"({"unregister":3})", R"({"call":4,"instance":3})",
                  R"({"post":5,"instance":3})", R"({"wait":1})", R"({"destroy":2})",
                  R"({"destroy":3})", R"({"embed":true})", R"({"call":6})"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_THAT(eventsOf(result),
                ElementsAre(event(2, "embedded", true), event(3, "embedded", true), reply(2, 1),
                            event(1, "destroyed", true), reply(2, 2), reply(3, 3),
                            event(3, "unregistered", true), IsError(8, "not handled"),
                            message(3, "main thread"), event(2, "destroyed", true),
                            event(3, "destroyed", true), event(4, "embedded", true), reply(4, 6)));
}

TEST(AnInstance, ThatIsNotThereIsAnError) {
    const ProcessResult result =
        runLines(module("echo_module"),
                 {R"({"call":1,"instance":2})", R"({"post":1,"instance":7})", R"({"destroy":9})",
                  R"({"unregister":9})", R"({"destroy":1})", R"({"destroy":1})", R"({"call":1})"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(eventsOf(result),
                ElementsAre(IsError(1, "no instance 2"), IsError(2, "no instance 7"),
                            IsError(3, "no instance 9"), IsError(4, "no instance 9"),
                            event(1, "destroyed", true), IsError(6, "no instance 1"),
                            IsError(7, "no instance")));
}

TEST(AnInstance, ThatIsRefusedLaterIsAnError) {
    // Instance 1 has to be there, so that the refusal of a later one is a line's error.
    const ProcessResult result = run(module("instance_refusing_module"), "{\"embed\":true}\n");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("DidCreate")));
}

TEST(AMessage, PostedWhileAnInstanceIsMadeNamesThatInstance) {
    const ProcessResult result = runLines(module("greeting_module"), {R"({"embed":true})"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(eventsOf(result),
                ElementsAre(message(1, "hello"), event(2, "embedded", true), message(2, "hello")));
}

TEST(AnInstance, HasTheAttributesOfItsLine) {
    const ProcessResult result =
        runLines(module("greeting_module"), {R"({"embed":{"id":"second","name":"\u00e4 b"}})"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(eventsOf(result), ElementsAre(message(1, "hello"), event(2, "embedded", true),
                                              message(2, "hello, id=second, name=\xc3\xa4 b")));
}

TEST(ALine, ThatIsNoRequestIsToldByNumberAndTheRunGoesOn) {
    struct Row {
        std::string line;
        std::string reason;
    };
    const std::vector<Row> rows = {
        {"nonsense", "is not JSON: its only words are true, false and null (column 1)"},
        {"{\"call\":1", "is not JSON: it ends too early (column 10)"},
        {"{\"call\":1}}", "is not JSON: more follows behind its end (column 11)"},
        {"{\"call\":1,}", "is not JSON: a comma is too many (column 10)"},
        {"{\"call\":1 \"instance\":1}", "is not JSON: a comma is missing (column 11)"},
        {"{\"call\":1} // why", "is not JSON: it has no comments (column 12)"},
        {"[]", "not a JSON object"},
        {"1", "not a JSON object"},
        {"null", "not a JSON object"},
        {"{}", "needs one of"},
        {R"({"shout":1})", "needs one of"},
        {R"({"Call":1})", "needs one of"},
        {R"({"call":1,"post":2})", "both"},
        {R"({"call":1,"more":2})", "\"more\""},
        {R"({"post":1,"timeout":2})", "\"timeout\""},
        {R"({"embed":true,"instance":1})", "\"instance\""},
        {R"({"call":1,"instance":"1"})", "\"instance\""},
        {R"({"call":1,"instance":0})", "\"instance\""},
        {R"({"call":1,"instance":-1})", "\"instance\""},
        {R"({"call":1,"instance":1.5})", "\"instance\""},
        {R"({"call":1,"instance":1e300})", "\"instance\""},
        {R"({"call":1,"timeout":"1"})", "\"timeout\""},
        {R"({"call":1,"timeout":-1})", "\"timeout\""},
        {R"({"call":1,"timeout":1e9})", "\"timeout\""},
        {R"({"call":1,"timeout":{"$type":"double","value":"NaN"}})", "\"timeout\""},
        {R"({"call":{"$type":"what"}})", "$type"},
        {R"({"call":{"$type":"arraybuffer","bytes":"?"}})", "bytes"},
        {R"({"call":{"$type":"arraybuffer","bytes":[256]}})", "bytes"},
        {R"({"call":1e999})", "number"},
        {R"({"embed":false})", "\"embed\""},
        {R"({"embed":{"id":1}})", "\"id\""},
        {R"({"embed":true,"grant":"partner"})", "\"grant\""},
        {R"({"embed":true,"grant":[1]})", "\"grant\""},
        {R"({"embed":true,"grant":["root"]})", "root"},
        {R"({"embed":true,"manifest":1})", "\"manifest\""},
        {R"({"embed":true,"manifest":""})", "\"manifest\""},
        {R"({"embed":true,"manifest":"/no/such/manifest.json"})", "/no/such/manifest.json"},
        {R"({"call":1,"grant":["partner"]})", "\"grant\""},
        {R"({"destroy":"1"})", "\"destroy\""},
        {R"({"destroy":0})", "\"destroy\""},
        {R"({"unregister":null})", "\"unregister\""},
        {R"({"wait":0})", "\"wait\""},
        {R"({"wait":2.5})", "\"wait\""},
    };
    Words lines;
    for (const Row& row : rows) lines.push_back(row.line);
    lines.emplace_back(R"({"call":"still here"})");
    const ProcessResult result = runLines(module("echo_module"), lines);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, IsEmpty());
    const std::vector<Value> events = eventsOf(result);
    ASSERT_THAT(events, SizeIs(rows.size() + 1));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(rows[i].line);
        EXPECT_THAT(events[i], IsError(static_cast<int>(i + 1), rows[i].reason));
    }
    EXPECT_EQ(events.back(), reply(1, "still here"));
}

TEST(ALine, MayBeBlankOrAComment) {
    const ProcessResult result = run(module("echo_module"),
                                     "\n  \t\n\r\n{\"call\":1}\r\n\n  # {\"call\":2}\n"
                                     "// {\"call\":3}\n/\nbad\n\n");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(eventsOf(result),
                ElementsAre(reply(1, 1), IsError(8, "is not JSON"), IsError(9, "is not JSON")));
}

TEST(ALine, NeedsNoEndAtTheEndOfTheInput) {
    EXPECT_THAT(eventsOf(run(module("echo_module"), "{\"call\":1}\n{\"call\":2}")),
                ElementsAre(reply(1, 1), reply(1, 2)));
}

TEST(ALine, MayBeHuge) {
    const std::string text(8 << 20, 'x');
    const ProcessResult result =
        runLines(module("echo_module"),
                 {"{\"call\":\"" + text + "\"}", std::string(8 << 20, 'y'), R"({"call":"next"})"});
    EXPECT_EQ(result.exitCode, 1);
    const std::vector<Value> events = eventsOf(result);
    ASSERT_THAT(events, SizeIs(3));
    EXPECT_TRUE(events[0] == reply(1, text)) << "the text is not what was sent";
    EXPECT_THAT(events[1], IsError(2, "is not JSON"));
    EXPECT_LT(host::writeJson(events[1]).size(), 1000U);
    EXPECT_EQ(events[2], reply(1, "next"));
}

TEST(ALine, WithInvalidUtf8IsToldInValidUtf8) {
    const ProcessResult result =
        run(module("echo_module"), "{\"call\":\"\xff\"}\n\xed\xa0\x80\n{\"call\":\"\xc3\xa4\"}\n");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(eventsOf(result),
                ElementsAre(IsError(1, "UTF-8"), IsError(2, "is not JSON"), reply(1, "\xc3\xa4")));
}

TEST(ALine, WithANulByteIsNotCutThere) {
    const ProcessResult result =
        run(module("echo_module"), std::string("{\"call\":1}\0\n{\"call\":2}\0 rest\n", 29));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(eventsOf(result), ElementsAre(IsError(1, ""), IsError(2, "")));
}

TEST(ALine, MayNestAsDeepAsTheHostAllowsAndNoDeeper) {
    const auto nested = [](std::size_t depth) {
        return "{\"call\":" + std::string(depth, '[') + std::string(depth, ']') + "}";
    };
    const auto objects = [](std::size_t depth) {
        std::string text;
        for (std::size_t i = 0; i < depth; ++i) text += R"({"call":)";
        return text;
    };
    const ProcessResult result =
        runLines(module("echo_module"),
                 {nested(host::kMaxValueDepth - 1), nested(host::kMaxValueDepth), nested(1000000),
                  objects(1000000), std::string(1000000, '{'), R"({"call":"next"})"});
    EXPECT_EQ(result.exitCode, 1);
    const std::vector<Value> events = eventsOf(result);
    ASSERT_THAT(events, SizeIs(6));
    EXPECT_TRUE(events[0]["reply"].isArray());
    for (int line : {2, 3, 4}) {
        EXPECT_THAT(events[static_cast<std::size_t>(line) - 1], IsError(line, "nested deeper"));
    }
    EXPECT_THAT(events[4], IsError(5, "is not JSON"));
    EXPECT_EQ(events[5], reply(1, "next"));
}

TEST(TheInput, MayBeEmptyOrNotThereAtAll) {
    EXPECT_EQ(run(module("echo_module")).exitCode, 0);
    Words command = module("echo_module");
    command.insert(command.begin(), program());
    ProcessOptions options;
    options.closedInput = true;
    const ProcessResult result = support::runProcess(command, options);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output + result.errors, IsEmpty());
}

TEST(TheOutput, ThatNobodyReadsEndsTheRun) {
    Words command = module("echo_module");
    command.insert(command.begin(), program());
    ProcessOptions options;
    options.closedOutput = true;
    for (int i = 0; i < 1000; ++i) options.input += "{\"call\":1}\n";
    const ProcessResult result = support::runProcess(command, options);
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.signal, SIGPIPE);
    EXPECT_THAT(result.errors, IsEmpty());
}

TEST(TheOutput, ThatCannotBeWrittenIsNoSuccess) {
    Words command = {"/bin/sh", "-c", "exec \"$0\" \"$@\" > /dev/full", program()};
    for (const std::string& word : module("echo_module")) command.push_back(word);
    ProcessOptions options;
    options.input = "{\"call\":1}\n";
    const ProcessResult result = support::runProcess(command, options);
    EXPECT_GT(result.exitCode, 0) << "the answer is lost";
    EXPECT_THAT(result.errorLines(), ElementsAre(StartsWith("sso-host: ")));
}

TEST(AModule, ThatBreaksTheRulesForReferencesIsToldAtTheEnd) {
    struct Row {
        std::string line;
        std::string problem;
    };
    const std::vector<Row> rows = {
        {R"({"post":"leak"})", "leak"},
        {R"({"post":"release twice"})", "dead"},
        {R"({"post":"release what is borrowed"})", "without owning"},
        {R"({"post":"release a foreign resource"})", "resource"},
        {R"({"call":"not owned"})", "response"},
    };
    Words arguments = module("misbehaving_module");
    arguments.insert(arguments.end(), {"--linger", "0"});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        // The call behind it makes sure that a post was handled.
        const ProcessResult result = runLines(arguments, {row.line, R"({"call":0})"});
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.errorLines(),
                    ElementsAre(AllOf(StartsWith("sso-host: "), HasSubstr(row.problem))));
    }
    const ProcessResult both = runLines(arguments, {rows[0].line, "nonsense", R"({"call":0})"});
    EXPECT_EQ(both.exitCode, 3) << "that outweighs a line's error";
    const ProcessResult good = runLines(arguments, {R"({"post":"nothing"})", R"({"call":0})"});
    EXPECT_EQ(good.exitCode, 1) << "the same module when it behaves, and does not answer";
    EXPECT_THAT(good.errors, IsEmpty());
}

TEST(TheConsole, IsToldOnStandardError) {
    Words arguments = module("greeting_module");
    arguments.insert(arguments.end(), {"--linger", "0"});
    const ProcessResult result =
        runLines(arguments, {R"({"post":1})", R"({"embed":true})", R"({"destroy":2})"});
    EXPECT_EQ(result.exitCode, 1) << "nothing answers the post";
    EXPECT_THAT(result.errorLines(), ElementsAre(AllOf(StartsWith("sso-host: console: "),
                                                       HasSubstr("PPP_Messaging;1.0"))));
}

/// A line of output without its time and how long an answer took.
std::string withoutTimes(const std::string& line) {
    static const std::regex time(R"x("time":"[^"]*",)x");
    static const std::regex taken(R"x(,"milliseconds":[0-9.]+)x");
    return std::regex_replace(std::regex_replace(line, time, ""), taken, "");
}

Words linesWithoutTimes(const std::string& text) {
    ProcessResult result;
    result.output = text;
    Words lines;
    for (const std::string& line : result.outputLines()) lines.push_back(withoutTimes(line));
    return lines;
}

TEST(AnEvent, NamesTheLineAndTheCommandThatItBelongsTo) {
    const ProcessResult result =
        runLines(module("echo_module"),
                 {"# a comment", R"({"call":{"command":"one"}})", R"({"post":{"command":"two"}})",
                  R"({"wait":1})", R"({"embed":true})", R"({"post":[],"instance":2})",
                  R"({"wait":1})", R"({"unregister":2})", R"({"destroy":2})",
                  R"({"call":{"command":"three"},"instance":2})"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(
        linesWithoutTimes(result.output),
        ElementsAre(
            R"({"instance":1,"line":2,"command":"one","reply":{"command":"one"}})",
            R"({"instance":1,"line":3,"command":"two","message":{"command":"two"}})",
            R"({"instance":2,"line":5,"embedded":true})", R"({"instance":2,"line":6,"message":[]})",
            R"({"instance":2,"line":8,"unregistered":true})",
            R"({"instance":2,"line":9,"destroyed":true})",
            R"({"error":{"command":"three","line":10,"reason":"there is no instance 2"}})"));
}

TEST(AnEvent, ThatAnswersNothingNamesNoLine) {
    const ProcessResult result = runLines(module("greeting_module"), {R"({"embed":true})"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(linesWithoutTimes(result.output),
                ElementsAre(R"({"instance":1,"message":"hello"})",
                            R"({"instance":2,"line":1,"embedded":true})",
                            R"({"instance":2,"message":"hello"})"));
}

TEST(ARefusal, IsExplainedOnceForEachCommandAndFailsAStrictRun) {
    const Words lines = {R"({"call":{"command":"sso_plugin_getVersion"}})",
                         R"({"call":{"command":"sso_plugin_getVersion"}})",
                         R"({"post":{"command":"sso_plugin_showTermPage"}})"};
    const std::string version =
        "sso-host: sso_plugin_getVersion was refused: the application lacks the privilege "
        "sso.partner; its manifest grants it by \"privileges\": [\"sso.partner\"], the command "
        "line by --grant sso.partner";
    const std::string misspelt =
        "sso-host: \"sso_plugin_showTermPage\" was refused: the plug-in has no such command; did "
        "you mean \"sso_plugin_showTermsPage\"?";
    const ProcessResult lenient = runLines({}, lines);
    EXPECT_EQ(lenient.exitCode, 0);
    EXPECT_THAT(lenient.errorLines(), ElementsAre(version, misspelt));

    const ProcessResult strict = runLines({"--strict"}, lines);
    EXPECT_EQ(strict.exitCode, 4);
    EXPECT_THAT(strict.errorLines(),
                ElementsAre(version, misspelt, "sso-host: --strict: 3 requests were refused"));
    EXPECT_THAT(runLines({"--strict"}, {lines[0]}).errorLines(),
                ElementsAre(version, "sso-host: --strict: 1 request was refused"));

    const ProcessResult granted = runLines({"--strict", "--grant", "partner"}, {lines[0]});
    EXPECT_EQ(granted.exitCode, 0);
    EXPECT_THAT(granted.errors, IsEmpty());
}

TEST(TheMessages, AreWrittenAsTheBrowserDoes) {
    const support::TemporaryFolder folder;
    const std::string file = folder.path("messages.jsonl");
    Words arguments = module("echo_module");
    arguments.insert(arguments.end(), {"--messages", file});
    const ProcessResult result =
        runLines(arguments, {R"({"post":{"command":"a"}})", R"({"wait":1})", R"({"call":[1.5]})"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.outputLines(), SizeIs(2));
    EXPECT_THAT(
        linesWithoutTimes(folder.read("messages.jsonl")),
        ElementsAre(R"({"instance":1,"path":"async","request":{"command":"a"}})",
                    R"({"instance":1,"path":"async","answer":{"command":"a"},"command":"a"})",
                    R"({"instance":1,"path":"blocking","request":[1.5]})",
                    R"({"instance":1,"path":"blocking","answer":[1.5]})"));
}

TEST(TheMessages, ThatCannotBeWrittenAreNoSuccess) {
    Words arguments = module("echo_module");
    arguments.insert(arguments.end(), {"--messages", "/dev/full"});
    const ProcessResult full = runLines(arguments, {R"({"call":1})"});
    EXPECT_EQ(full.exitCode, 1);
    EXPECT_THAT(full.errorLines(),
                ElementsAre("sso-host: the messages /dev/full cannot be written"));
    arguments.back() = "/no/such/folder/file";
    const ProcessResult missing = runLines(arguments, {R"({"call":1})"});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_THAT(missing.errorLines(),
                ElementsAre("sso-host: the messages /no/such/folder/file cannot be written"));
}

TEST(TheMessages, CanBeInputAgain) {
    Words arguments = module("echo_module");
    arguments.insert(arguments.end(), {"--messages", "-"});
    const ProcessResult first =
        runLines(arguments, {R"({"post":{"command":"a"}})", R"({"wait":1})", R"({"embed":true})",
                             R"({"call":[1.5],"instance":2})", R"({"post":"b"})", "bad"});
    EXPECT_EQ(first.exitCode, 1);
    const ProcessResult second = run(arguments, first.output);
    EXPECT_EQ(second.exitCode, 0) << second.output << second.errors;
    const auto recordsOf = [](const ProcessResult& result) {
        Words records;
        for (const std::string& line : linesWithoutTimes(result.output)) {
            if (line.find("\"path\"") != std::string::npos) records.push_back(line);
        }
        return records;
    };
    EXPECT_THAT(recordsOf(first), SizeIs(6));
    EXPECT_EQ(recordsOf(second), recordsOf(first));
}

TEST(TheMessages, OfTheBrowserMayHaveAnyInstanceNumbers) {
    const ProcessResult result = runLines(
        module("echo_module"), {R"({"time":"x","instance":-123456,"path":"blocking","request":1})",
                                R"({"time":"x","instance":77,"path":"blocking","request":2})",
                                R"({"time":"x","instance":-123456,"path":"blocking","request":3})",
                                R"({"time":"x","instance":"a","path":"blocking","request":3})",
                                R"({"time":"x","instance":1,"path":"what","request":3})"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(eventsOf(result),
                ElementsAre(reply(1, 1), event(2, "embedded", true), reply(2, 2), reply(1, 3),
                            IsError(4, "\"instance\" of a record must be a whole number"),
                            IsError(5, "needs one of")));
}

TEST(TheVersion, IsPrinted) {
    const ProcessResult result = run({"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "sso-host " SSO_VERSION "\n");
    EXPECT_THAT(result.errors, IsEmpty());
}

TEST(AModule, ThatIsNoFileIsNotWaitedFor) {
    const support::TemporaryFolder folder;
    const std::string pipe = folder.path("pipe.so");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, folder.path(""), std::string("/dev/zero")}) {
        SCOPED_TRACE(path);
        const ProcessResult result = run({"--module", path}, "{\"call\":1}\n");
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.errorLines(),
                    ElementsAre("sso-host: cannot load the module " + path + ": it is not a file"));
    }
}

/// The plug-in with a fault, and a call to it.
///
/// @param longest  seconds that a step of the module may take.
ProcessResult runFaulty(const std::string& fault, const std::string& longest) {
    Words command = {program(), "--module-timeout", longest, "--grant", "partner"};
    const Words faulty = module("faulty_module");
    command.insert(command.end(), faulty.begin(), faulty.end());
    ProcessOptions options;
    options.environment = {"SSO_FAULTY_MODULE=" + support::modulePath(), "SSO_FAULT=" + fault};
    options.input = "{\"call\":{\"command\":\"sso_plugin_getVersion\"},\"timeout\":0.1}\n";
    return support::runProcess(command, options);
}

TEST(AModule, ThatHangsIsToldAndEnded) {
    const std::string begin =
        "sso-host: the module " + module("faulty_module")[1] + " hangs: it did not ";
    struct Row {
        const char* place;
        int exitCode;
        const char* step;
        const char* longest;
    };
    // What hangs at its end has to start within that time, too, and many tests may run at once.
    const Row rows[] = {{"load", 2, "start", "0.3"},
                        {"PPP_InitializeModule", 2, "start", "0.3"},
                        {"DidCreate", 2, "start", "0.3"},
                        {"DidDestroy", 1, "end", "3"},
                        {"PPP_ShutdownModule", 1, "end", "3"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.place);
        const ProcessResult result = runFaulty(std::string("hang ") + row.place, row.longest);
        EXPECT_EQ(result.exitCode, row.exitCode);
        EXPECT_THAT(result.errorLines(),
                    ElementsAre(begin + row.step + " within " + row.longest + " seconds"));
    }
}

TEST(AModule, HasTheWholeTimeForEachStep) {
    Words command = {
        "/bin/sh",          "-c", "(sleep 4; echo '{\"embed\":true}') | \"$0\" \"$@\"", program(),
        "--module-timeout", "3"};
    for (const std::string& word : module("echo_module")) command.push_back(word);
    const ProcessResult result = support::runProcess(command);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(eventsOf(result), ElementsAre(event(2, "embedded", true)));
}

TEST(AModule, ThatEndsTheProgramIsNoSuccess) {
    const std::string told =
        "sso-host: the module " + module("faulty_module")[1] + " ended the program by itself";
    for (const char* way : {"exit", "_exit", "quick_exit"}) {
        for (const auto& [place, exitCode] : {std::pair("load", 2), std::pair("DidCreate", 2),
                                              std::pair("HandleBlockingMessage", 1)}) {
            const std::string fault = std::string(way) + " " + place;
            SCOPED_TRACE(fault);
            const ProcessResult result = runFaulty(fault, "60");
            EXPECT_EQ(result.exitCode, exitCode);
            EXPECT_THAT(result.output, IsEmpty());
            EXPECT_THAT(result.errorLines(), ElementsAre(told));
        }
    }
    EXPECT_EQ(runFaulty("none", "60").exitCode, 0) << "the same without a fault";
}

}  // namespace
