// The host's program with a recording.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <regex>
#include <string>
#include <vector>

#include "module_path.h"
#include "process.h"
#include "sanitizer.h"
#include "temporary_folder.h"

namespace {

using support::builtPath;
using support::ProcessResult;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Words = std::vector<std::string>;

constexpr const char* kAccount = R"({
    "account": {"loginId": "a@b.example", "uid": "uid-of-a", "guid": "guid-of-a", "authToken": "t-of-a"},
    "clients": [{"id": "client-of-a", "secret": "secret-of-a", "token": "token-of-a"}],
    "mappings": [{"appID": "app-of-a", "cpName": "partner-of-a", "cpUID": "user-of-a"}]
})";

/// The same account as one that has pseudonyms may be taken for: what requests name is called as they do.
constexpr const char* kOtherAccount = R"({
    "account": {"loginId": "x@y.example", "uid": "another uid", "guid": "another guid", "authToken": "another"},
    "clients": [{"id": "id-1", "secret": "secret-1", "token": "another token"}],
    "mappings": [{"appID": "appID-1", "cpName": "another partner", "cpUID": "another user"}]
})";

constexpr const char* kRequests = R"({"call":{"command":"sso_plugin_getSSOState"}}
{"post":{"command":"sso_plugin_getZEVAccessToken","id":"client-of-a","secret":"secret-of-a"}}
{"wait":1}
{"call":{"command":"sso_plugin_getLoginUid"}}
{"post":{"command":"sso_plugin_getPartnerAccountMappingList","appID":"app-of-a"}}
{"post":{"command":"sso_plugin_show_login_page","data":"data-of-a"}}
{"wait":2}
{"embed":true}
{"call":{"command":"sso_plugin_getGuid"},"instance":2}
{"call":{"command":"sso_plugin_getVersion"}}
{"post":"no command","instance":2}
)";

class ARecording : public ::testing::Test {
  protected:
    static ProcessResult run(const Words& arguments, const std::string& input = "") {
        Words command = {builtPath("bin/sso-host")};
        command.insert(command.end(), arguments.begin(), arguments.end());
        support::ProcessOptions options;
        options.input = input;
        return support::runProcess(command, options);
    }

    /// Plays lines to one of the tests' modules.
    ProcessResult replay(const std::string& module, const Words& lines, const Words& more = {}) {
        std::string text;
        for (const std::string& line : lines) text += line + "\n";
        m_folder.write("r.jsonl", text);
        Words arguments = {"--module", builtPath("lib/lib" + module + ".so"), "--replay",
                           m_folder.path("r.jsonl")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(arguments);
    }

    /// What a replay writes, with the file's name alone.
    std::string told(const ProcessResult& result) const { return withoutFolder(result.output); }

    std::string withoutFolder(std::string text) const {
        const std::string folder = m_folder.path("");
        for (std::size_t at = 0; (at = text.find(folder)) != std::string::npos;) {
            text.erase(at, folder.size());
        }
        return text;
    }

    /// A recording of kRequests on the device of kAccount.
    std::string record(const Words& more = {}) {
        const std::string file = m_folder.path("field.jsonl");
        Words arguments = {"--grant",    "partner,platform",
                           "--account",  m_folder.write("account.json", kAccount),
                           "--messages", file};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProcessResult result = run(arguments, kRequests);
        EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
        return file;
    }

    /// Plays it on a device with an account.
    ProcessResult replayOn(const std::string& account, const std::string& file) {
        return run({"--grant", "partner,platform", "--account", m_folder.write("now.json", account),
                    "--replay", file},
                   "this is not read\n");
    }

    support::TemporaryFolder m_folder;
};

std::string postLine(int instance, const std::string& value) {
    return R"({"time":"2026-11-21T08:50:20.939Z","instance":)" + std::to_string(instance) +
           R"(,"path":"async","request":)" + value + "}";
}
std::string answerLine(int instance, const std::string& value) {
    return R"({"time":"2026-11-21T08:50:21.001Z","instance":)" + std::to_string(instance) +
           R"(,"path":"async","answer":)" + value + R"(,"milliseconds":62.1})";
}
std::string callLine(int instance, const std::string& value) {
    return R"({"instance":)" + std::to_string(instance) + R"(,"path":"blocking","request":)" +
           value + "}";
}
std::string replyLine(int instance, const std::string& value) {
    return R"({"instance":)" + std::to_string(instance) + R"(,"path":"blocking","answer":)" +
           value + "}";
}

TEST_F(ARecording, IsTheSameOnTheSameDevice) {
    const ProcessResult result = replayOn(kAccount, record());
    EXPECT_EQ(told(result), "field.jsonl: the same: 8 requests, 8 answers\n");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, IsEmpty());
}

TEST_F(ARecording, IsToldToDifferWithLineAndMember) {
    std::string other = kAccount;
    other.replace(other.find("token-of-a"), 10, "another");
    const ProcessResult result = replayOn(other, record());
    EXPECT_EQ(
        told(result),
        "field.jsonl:4: the answer to sso_plugin_getZEVAccessToken (line 3) differs in token\n"
        "  recorded: \"token-of-a\"\n"
        "  came:     \"another\"\n");
    EXPECT_EQ(result.exitCode, 1);
}

TEST_F(ARecording, WithPseudonymsHasNothingOfTheOriginal) {
    const std::string file = record({"--pseudonyms"});
    const std::string text = m_folder.read("field.jsonl");
    EXPECT_THAT(text, HasSubstr(R"("value":"loginId-1?token-1?uid-1?guid-1")"));
    EXPECT_THAT(text, HasSubstr(R"("id":"id-1","secret":"secret-1")"));
    for (const char* planted : {"-of-a", "a@b", "example", "no command"}) {
        EXPECT_EQ(text.find(planted), std::string::npos) << planted;
    }
    struct stat status = {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(ARecording, WithPseudonymsIsTheSameUpToTheirNames) {
    const ProcessResult result = replayOn(kOtherAccount, record({"--pseudonyms"}));
    EXPECT_EQ(told(result), "field.jsonl: the same: 8 requests, 8 answers\n");
    EXPECT_EQ(result.exitCode, 0);
}

TEST_F(ARecording, WithPseudonymsDiffersWhenOneTextWasTwoOrTwoWereOne) {
    const std::string state = R"({"command":"sso_plugin_getSSOState"})";
    const std::string uid = R"({"command":"sso_plugin_getLoginUid"})";
    const auto replied = [](const std::string& value) {
        return R"({"instance":1,"path":"blocking","answer":{"code":0,"value":")" + value +
               R"(","errorName":"","errorMessage":""},"pseudonyms":true})";
    };
    const auto played = [&](const Words& lines) {
        std::string text;
        for (const std::string& line : lines) text += line + "\n";
        return told(replayOn(kAccount, m_folder.write("p.jsonl", text)));
    };
    const std::string four = replied("loginId-1?token-1?uid-1?guid-1");
    EXPECT_EQ(played({callLine(1, state), four, callLine(1, uid), replied("uid-1")}),
              "p.jsonl: the same: 2 requests, 2 answers\n");
    EXPECT_EQ(played({callLine(1, state), four, callLine(1, uid), replied("guid-1")}),
              "p.jsonl:4: the answer to sso_plugin_getLoginUid (line 3) differs in value\n"
              "  recorded: \"guid-1\"\n  came:     \"uid-of-a\"\n");
    EXPECT_EQ(played({callLine(1, uid), replied("uid-1"), callLine(1, uid), replied("uid-2")}),
              "p.jsonl:4: the answer to sso_plugin_getLoginUid (line 3) differs in value\n"
              "  recorded: \"uid-2\"\n  came:     \"uid-of-a\"\n");
    EXPECT_EQ(played({callLine(1, state), replied("loginId-1?token-1?loginId-1?guid-1")}),
              "p.jsonl:2: the answer to sso_plugin_getSSOState (line 1) differs in value\n"
              "  recorded: \"loginId-1?token-1?loginId-1?guid-1\"\n"
              "  came:     \"a@b.example?t-of-a?uid-of-a?guid-of-a\"\n");
    EXPECT_EQ(played({callLine(1, uid), replied("")}),
              "p.jsonl:2: the answer to sso_plugin_getLoginUid (line 1) differs in value\n"
              "  recorded: \"\"\n  came:     \"uid-of-a\"\n");
}

TEST_F(ARecording, WithPseudonymsHasThoseOfRequestsInAnswersToo) {
    std::string account = kAccount;
    account.replace(account.find("uid-of-a"), 8, "uid-1");
    const std::string file = m_folder.write(
        "p.jsonl",
        R"({"instance":1,"path":"blocking","request":{"command":"sso_plugin_getTermsAgreementState","termsId":"uid-1"},"pseudonyms":true}
{"instance":1,"path":"blocking","answer":{"code":0,"value":0,"errorName":"","errorMessage":""},"pseudonyms":true}
{"instance":1,"path":"blocking","request":{"command":"sso_plugin_getLoginUid"},"pseudonyms":true}
{"instance":1,"path":"blocking","answer":{"code":0,"value":"uid-1","errorName":"","errorMessage":""},"pseudonyms":true}
)");
    EXPECT_EQ(told(replayOn(account, file)), "p.jsonl: the same: 2 requests, 2 answers\n");
    EXPECT_EQ(told(replayOn(kAccount, file)),
              "p.jsonl:4: the answer to sso_plugin_getLoginUid (line 3) differs in value\n"
              "  recorded: \"uid-1\"\n  came:     \"uid-of-a\"\n");
}

TEST_F(ARecording, IsNotComparedInWhatAnElementSaysThatHasLostItsHandler) {
    const std::string word = R"("Unregister")";
    const ProcessResult result =
        replay("echo_module", {postLine(1, word), answerLine(1, word)}, {"--linger", "0.2"});
    EXPECT_EQ(told(result), "r.jsonl: the same: 1 request, 0 answers\n");
    EXPECT_EQ(result.exitCode, 0);
}

TEST_F(ARecording, CanBeOfAnyInstancesAndHaveOtherLines) {
    const ProcessResult result = replay(
        "echo_module",
        {"# from the field", "", callLine(-123456, R"({"command":"a"})"), postLine(77, "2"),
         replyLine(-123456, R"({"command":"a"})"), answerLine(77, "2"), postLine(77, R"("count")"),
         R"({"time":"x","instance":1,"embedded":true})", R"({"time":"x","instance":1,"reply":3})",
         answerLine(77, "3"), answerLine(77, R"("Unregister")")});
    EXPECT_EQ(told(result), "r.jsonl: the same: 3 requests, 3 answers\n");
    EXPECT_EQ(result.exitCode, 0);
}

TEST_F(ARecording, IsComparedMemberByMember) {
    struct Row {
        const char* recorded;
        const char* came;
        const char* difference;
    };
    const Row rows[] = {
        {"1", "2", "differs\n  recorded: 1\n  came:     2\n"},
        {"null", R"("")", "differs\n  recorded: null\n  came:     \"\"\n"},
        {R"({"a":{"b":[1,2]}})", R"({"a":{"b":[1,3]}})",
         "differs in a.b[1]\n  recorded: 2\n  came:     3\n"},
        {R"({"a":[1,2]})", R"({"a":[1]})", "differs in a[1]\n  recorded: 2\n  came:     nothing\n"},
        {R"({"a":[1]})", R"({"a":[1,2]})", "differs in a[1]\n  recorded: nothing\n  came:     2\n"},
        {R"({"a":1,"b":2})", R"({"a":1})", "differs in b\n  recorded: 2\n  came:     nothing\n"},
        {R"({"a":1})", R"({"a":1,"c":2})", "differs in c\n  recorded: nothing\n  came:     2\n"},
        {R"({"a":1})", "1", "differs\n  recorded: {\"a\":1}\n  came:     1\n"},
        {R"("\u00e4")", R"("\n")", "differs\n  recorded: \"\xc3\xa4\"\n  came:     \"\\n\"\n"},
    };
    for (const Row& row : rows) {
        const ProcessResult result =
            replay("echo_module", {callLine(1, row.came), replyLine(1, row.recorded)});
        EXPECT_EQ(told(result), std::string("r.jsonl:2: the answer to line 1 ") + row.difference);
        EXPECT_EQ(result.exitCode, 1);
    }
    const ProcessResult same =
        replay("echo_module", {callLine(1, R"({"b":1.0,"a":{"$type":"double","value":"NaN"}})"),
                               replyLine(1, R"({"a":{"$type":"double","value":"NaN"},"b":1})")});
    EXPECT_EQ(same.exitCode, 0) << same.output;
}

TEST_F(ARecording, TellsOfALostAnswer) {
    const Words quickly = {"--linger", "0.05"};
    const ProcessResult posted =
        replay("stuck_module",
               {postLine(1, R"({"command":"a"})"), answerLine(1, R"({"command":"a"})")}, quickly);
    EXPECT_EQ(told(posted),
              "r.jsonl:2: the answer to a (line 1) is lost: nothing came within 0.05 seconds\n"
              "  recorded: {\"command\":\"a\"}\n  came:     nothing\n");
    EXPECT_EQ(posted.exitCode, 1);
    const ProcessResult called =
        replay("stuck_module", {callLine(1, "1"), replyLine(1, "1")}, quickly);
    EXPECT_EQ(told(called),
              "r.jsonl:2: the answer to line 1 is lost: the call was not answered in time\n"
              "  recorded: 1\n  came:     nothing\n");
    EXPECT_EQ(called.exitCode, 1);
    const ProcessResult unasked = replay(
        "echo_module", {callLine(1, "1"), replyLine(1, "1"), answerLine(1, R"("hello")")}, quickly);
    EXPECT_EQ(told(unasked),
              "r.jsonl:3: the message is lost: nothing came within 0.05 seconds\n"
              "  recorded: \"hello\"\n  came:     nothing\n");
    const ProcessResult neither = replay("stuck_module", {postLine(1, "1")}, quickly);
    EXPECT_EQ(told(neither), "r.jsonl: the same: 1 request, 0 answers\n");
    EXPECT_EQ(neither.exitCode, 0);
}

TEST_F(ARecording, TellsOfAnAdditionalAnswer) {
    const ProcessResult answered = replay(
        "echo_module", {postLine(1, "1"), answerLine(1, "1"), postLine(1, R"({"command":"a"})")});
    EXPECT_EQ(told(answered),
              "r.jsonl:3: the request has an answer now\n"
              "  recorded: nothing\n  came:     {\"command\":\"a\"}\n");
    EXPECT_EQ(answered.exitCode, 1);
    const ProcessResult unasked =
        replay("greeting_module", {postLine(1, "1")}, {"--linger", "0.2"});
    EXPECT_EQ(told(unasked),
              "r.jsonl:1: an additional message has come\n"
              "  recorded: nothing\n  came:     \"hello\"\n");
    EXPECT_EQ(unasked.exitCode, 1);
}

TEST_F(ARecording, TakesInstancesAwayThatWentAndComparesNothingOfWhatTheyOwed) {
    const std::string a = R"({"command":"a"})";
    const std::string gone = R"({"time":"x","instance":1,"gone":true})";
    const Words lines = {postLine(1, a), callLine(1, "1"), gone,
                         // another one, whose number was free again
                         postLine(1, R"({"command":"a","n":2})"),
                         answerLine(1, R"({"command":"a","n":2})")};
    const std::string file = m_folder.path("again.jsonl");
    const ProcessResult result = replay("echo_module", lines, {"--messages", file});
    EXPECT_EQ(told(result), "r.jsonl: the same: 3 requests, 1 answer\n");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(m_folder.read("again.jsonl"),
                HasSubstr(R"("instance":2,"path":"async","request":{"command":"a","n":2}})"));
    const ProcessResult kept = replay("echo_module", {lines[0], lines[3], lines[4]});
    EXPECT_EQ(kept.exitCode, 1) << "without that";
}

TEST_F(ARecording, TellsOfAnInstanceThatGoesAndOwesAnswers) {
    const std::string file = m_folder.path("gone.jsonl");
    const Words stuck = {"--module", builtPath("lib/libstuck_module.so"), "--messages", file};
    const ProcessResult result =
        run(stuck, "{\"post\":1}\n{\"embed\":true}\n{\"destroy\":1}\n{\"destroy\":2}\n");
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    const std::regex lines(R"x(\{"time":"[^"]*","instance":1,"path":"async","request":1\}
\{"time":"[^"]*","instance":1,"gone":true\}
)x");
    EXPECT_TRUE(std::regex_match(m_folder.read("gone.jsonl"), lines))
        << m_folder.read("gone.jsonl");
    // As input of another run it does nothing.
    EXPECT_EQ(
        run({"--module", builtPath("lib/libecho_module.so")}, m_folder.read("gone.jsonl")).exitCode,
        0);
}

TEST_F(ARecording, ComparesTheOrderOfAnswersToOneCommandAlone) {
    const auto a = [](int number) {
        return R"({"command":"a","n":)" + std::to_string(number) + "}";
    };
    const ProcessResult one = replay("echo_module", {postLine(1, a(1)), postLine(1, a(2)),
                                                     answerLine(1, a(2)), answerLine(1, a(1))});
    EXPECT_EQ(told(one),
              "r.jsonl:3: the answer to a (line 1) differs in n\n"
              "  recorded: 2\n  came:     1\n");
    EXPECT_EQ(one.exitCode, 1);
    const std::string b = R"({"command":"b"})";
    const ProcessResult two = replay(
        "echo_module", {postLine(1, a(1)), postLine(1, b), answerLine(1, b), answerLine(1, a(1))});
    EXPECT_EQ(told(two), "r.jsonl: the same: 2 requests, 2 answers\n");
    EXPECT_EQ(two.exitCode, 0);
}

TEST_F(ARecording, ThatIsNoneStartsNothing) {
    const auto errorsOf = [this](const std::string& text) {
        const ProcessResult result = replay("echo_module", {text});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.output, IsEmpty());
        return withoutFolder(result.errors);
    };
    const std::string none = "sso-host: r.jsonl: is no recording: it has no request\n";
    EXPECT_EQ(errorsOf(""), none);
    EXPECT_EQ(errorsOf("# nothing\n\n"), none);
    EXPECT_EQ(errorsOf(answerLine(1, "1")), none);
    EXPECT_EQ(
        errorsOf(postLine(1, "1") + "\n[]\n" + R"({"post":1})" + "\n" + replyLine(1, "1") + "\n" +
                 R"({"path":"async","request":1})" + "\n" + postLine(1, "1").substr(0, 50)),
        "sso-host: r.jsonl:2: not a JSON object\n"
        "sso-host: r.jsonl:3: neither a request nor an answer that was recorded\n"
        "sso-host: r.jsonl:4: a reply to no call\n"
        "sso-host: r.jsonl:5: \"instance\" of a record must be a whole number\n"
        "sso-host: r.jsonl:6: is not JSON: it ends too early (column 51)\n");
    std::string many;
    for (int i = 0; i < 1000; ++i) many += "x\n";
    EXPECT_EQ(run({"--replay", m_folder.write("many", many)}).errorLines().size(), 11U);
    for (const std::string& path : {m_folder.path("missing"), m_folder.path("")}) {
        const ProcessResult result = run({"--replay", path});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.errorLines(),
                    ElementsAre("sso-host: the recording " + path + " cannot be read"));
    }
}

TEST_F(ARecording, MayHaveAHugeLine) {
    // Where each byte takes ten times as long, fewer.
    const std::size_t size = SSO_SANITIZED != 0 ? 1000000 : 8000000;
    const std::string inQuotes = std::to_string(size + 2);
    std::string text(size, 'x');
    const std::string sent = '"' + text + '"';
    const ProcessResult same = replay("echo_module", {callLine(1, sent), replyLine(1, sent)});
    EXPECT_EQ(told(same), "r.jsonl: the same: 1 request, 1 answer\n");
    text[size / 2] = 'y';
    const ProcessResult other =
        replay("echo_module", {callLine(1, sent), replyLine(1, '"' + text + '"')});
    EXPECT_EQ(other.exitCode, 1);
    ASSERT_THAT(other.outputLines(), SizeIs(3));
    const std::string x(100, 'x');
    EXPECT_EQ(other.outputLines()[1],
              "  recorded: ..." + x + "y" + std::string(199, 'x') + "... (" + inQuotes + " bytes)");
    EXPECT_EQ(other.outputLines()[2],
              "  came:     ..." + x + "x" + std::string(199, 'x') + "... (" + inQuotes + " bytes)");
}

TEST_F(ARecording, MayHaveTenThousandMessages) {
    Words flight;
    for (int i = 0; i < 5000; ++i) flight.push_back(postLine(i % 3, std::to_string(i)));
    for (int i = 0; i < 5000; ++i) flight.push_back(answerLine(i % 3, std::to_string(i)));
    EXPECT_EQ(told(replay("echo_module", flight)),
              "r.jsonl: the same: 5000 requests, 5000 answers\n");
    flight[9998] = answerLine(9998 % 5000 % 3, "1");
    EXPECT_THAT(told(replay("echo_module", flight)),
                HasSubstr("r.jsonl:9999: the answer to line 4999 differs\n"));
}

TEST_F(ARecording, CanBeMadeOfAReplay) {
    const std::string file = record();
    const std::string account = m_folder.path("account.json");
    const ProcessResult result =
        run({"--grant", "partner,platform", "--account", account, "--replay", file, "--messages",
             m_folder.path("again.jsonl")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(told(replayOn(kAccount, m_folder.path("again.jsonl"))),
              "again.jsonl: the same: 8 requests, 8 answers\n");
}

TEST_F(ARecording, IsPlayedStrictlyToo) {
    const std::string version = R"({"command":"sso_plugin_getVersion"})";
    const std::string file = m_folder.path("refused.jsonl");
    run({"--messages", file}, R"({"call":)" + version + "}\n");
    EXPECT_EQ(run({"--replay", file}).exitCode, 0);
    EXPECT_EQ(run({"--replay", file, "--strict"}).exitCode, 4);
    const ProcessResult granted = run({"--replay", file, "--grant", "partner"});
    EXPECT_EQ(granted.exitCode, 1);
    EXPECT_EQ(told(granted),
              "refused.jsonl:2: the answer to sso_plugin_getVersion (line 1) differs in code\n"
              "  recorded: 18\n  came:     0\n");
}

TEST_F(ARecording, WithPseudonymsIsAFile) {
    const ProcessResult alone = run({"--pseudonyms"});
    EXPECT_EQ(alone.exitCode, 2);
    EXPECT_THAT(alone.errorLines(),
                ElementsAre("sso-host: --pseudonyms requires --messages; --help tells more"));
    const ProcessResult output = run({"--messages", "-", "--pseudonyms"});
    EXPECT_EQ(output.exitCode, 2);
    EXPECT_THAT(output.errorLines(),
                ElementsAre("sso-host: --pseudonyms needs a file: standard output has more than "
                            "the messages"));
}

}  // namespace
