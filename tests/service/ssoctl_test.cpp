// The remote control's program, on a bus of the test's own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>

#include "desk.h"
#include "module_path.h"

namespace {

using Json = nlohmann::ordered_json;
using support::ProcessResult;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class Ssoctl : public ::testing::Test {
  protected:
    Desk m_desk;
};

using TheRemoteControl = Ssoctl;

TEST_F(TheRemoteControl, PrintsLinesForAPersonAndJsonForAProgram) {
    EXPECT_EQ(m_desk.output("ssoctl preset use full"), "preset: full\n");
    EXPECT_EQ(m_desk.output("ssoctl account list"),
              "loginId             displayName  uid        guid        hasPassword  signedIn\n"
              "robin@user.example  Robin        uid-robin  guid-robin  yes          yes\n"
              "kim@user.example    Kim          uid-kim    guid-kim    yes          no\n"
              "alex@user.example   Alex         uid-alex   guid-alex   yes          no\n");
    EXPECT_EQ(m_desk.output("ssoctl token list --json"),
              R"([{"loginId":"robin@user.example","client":"demo-client",)"
              R"("token":"access-token-of-demo-client","number":1,"expiry":null,)"
              R"("expired":false}])"
              "\n");
    EXPECT_EQ(m_desk.output("ssoctl --json fail getGuid --times 2"),
              R"({"sso_get_guid":{"failure":-7,"times":2}})"
              "\n");
    EXPECT_EQ(m_desk.output("ssoctl delay getGuid 10"),
              "sso_get_guid:\n  delayMs: 10\n  failure: -7\n  times: 2\n");
    EXPECT_EQ(m_desk.output("ssoctl sign-out"), "");
    EXPECT_EQ(m_desk.output("ssoctl --state=other account list"), "none\n");
    EXPECT_EQ(m_desk.output("ssoctl --version"), "ssoctl " SSO_VERSION "\n");
}

// A query has no start of its own: the code of a start that fails ends it as any other does.
TEST_F(TheRemoteControl, LetsAQueryFailWithAnyCode) {
    const std::string guid = R"({"code":0,"errorMessage":"","errorName":"","value":"guid-robin"})";
    const std::string none = R"({"code":0,"errorMessage":"","errorName":"","value":""})";
    for (const char* code : {"-1", "-7"}) {
        m_desk.output("ssoctl preset use signed-in && ssoctl fail getGuid --times 1 --code " +
                      std::string(code));
        EXPECT_EQ(m_desk.output(R"(for time in 1 2; do
                                       echo '{"call": {"command": "sso_plugin_getGuid"}}'
                                   done | sso-host --state default --grant partner |
                                       sed 's/.*"reply"://; s/}$//')"),
                  none + "\n" + guid + "\n")
            << code;
    }
}

TEST_F(TheRemoteControl, TellsVerbsAndOptionsInTheOrderOfTheirUse) {
    EXPECT_EQ(m_desk.output("ssoctl --help"), R"(The remote control of the account service.
Usage: ssoctl [OPTIONS] SUBCOMMAND

Options:
  -h,--help                   Print this help; after a verb, the verb's
  --state NAME                Which state it is about; default: default
  --json                      Print JSON, for programs

Subcommands:
  status                      Tell the state in short
  state                       Whole states; --state says which one all other verbs are about
  preset                      States to begin with
  account                     Accounts of the device's users
  sign-in                     Sign a user in, as if the login page had been gone through
  sign-out                    Sign the user out
  client                      Clients, which ask for access tokens
  token                       Access tokens that clients have got
  terms                       Terms that users can agree to
  mapping                     Partners' users that an account is mapped to
  popup                       Popups, which applications ask for
  fail                        Let an operation fail
  delay                       Let an operation take longer
  hang                        Let an operation not be answered, for a minute; a popup stays open
  reset                       Take back fail, delay and hang, and what was set for the next popups
  clock                       Tell the time of the state's clock, by which tokens expire
  run                         Run a scenario: one verb a line, # begins a comment
  watch                       Show changes and operations as they happen
  wait                        Do nothing for a time
  wait-for                    Wait for an event; in a scenario, one that came after the last that was waited for will do
  doctor                      Tell what runs, where, and what is wrong
  completion                  Completion for shells
  verbs                       Tell all verbs, for programs

Exit codes:
  0  done
  1  refused, told on standard error; nothing has changed
  2  no such verb, or wrong arguments
  3  the account service cannot be reached
  4  what was waited for has not come
Of a scenario, the code of the line that ended it.

Example:
  ssoctl preset use signed-in && ssoctl status
)");
    EXPECT_EQ(m_desk.output("ssoctl terms add --help"),
              R"(Add terms, or another version of some: who agreed to the former has not to it
Usage: ssoctl terms add [OPTIONS] ID

Positionals:
  ID TEXT REQUIRED            What they are known by

Options:
  -h,--help                   Print this help; after a verb, the verb's
  --version TEXT=1            Of the terms
  --title TEXT                What their page is called
  --text-stdin                Their text is standard input

Example:
  ssoctl terms add terms-1 --version 2
)");
}

TEST_F(TheRemoteControl, PrintsNothingThatMovesTheCursor) {
    m_desk.output(R"(ssoctl account add kim --display-name $'\e[2J\nKim' --uid 1 --guid 2)");
    EXPECT_EQ(m_desk.output("ssoctl account list"),
              "loginId  displayName  uid  guid  hasPassword  signedIn\n"
              "kim      ?[2J?Kim     1    2     no           no\n");
}

TEST_F(TheRemoteControl, TellsHowItEnded) {
    struct Row {
        const char* command;
        int exitCode;
        const char* errors;
    };
    m_desk.output("ssoctl preset use signed-in");
    const Row rows[] = {
        {"ssoctl status", 0, ""},
        {"ssoctl --help", 0, ""},
        {"ssoctl sign-in nobody", 1, "ssoctl: there is no account nobody\n"},
        {"ssoctl state load missing.json", 1, "ssoctl: missing.json: cannot be read\n"},
        {"ssoctl state load .", 2,
         "ssoctl: state load: NAME-or-FILE: a state's name must have at most 64 letters, digits, "
         "dots, dashes and underscores, and no dot first\n"},
        {"ssoctl state save /nowhere/x", 1, "ssoctl: /nowhere/x: No such file or directory\n"},
        {"printf '\\0' | ssoctl state load -", 1, "ssoctl: the input has a NUL in it\n"},
        {"ssoctl fly", 2, "ssoctl: no such verb; ssoctl --help tells more\n"},
        {"ssoctl >/dev/null", 2, ""},
        {"ssoctl --state", 2, "ssoctl: --state: a name must follow\n"},
        {"ssoctl --state ../x status", 2,
         "ssoctl: --state: its name must have at most 64 letters, digits, dots, dashes and "
         "underscores, and no dot first\n"},
        {"ssoctl wait-for popup --within 10ms", 4, "ssoctl: what was waited for has not come\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.command);
        const ProcessResult result = m_desk.bash(row.command);
        EXPECT_EQ(result.exitCode, row.exitCode);
        EXPECT_EQ(result.errors, row.errors);
    }
}

TEST(AnEmptyDesk, GetsABusWithTheFirstProgram) {
    Desk desk(Desk::Bus::StartedByPrograms);
    EXPECT_EQ(desk.output("ssoctl account list"), "none\n");
}

TEST(AnEmptyDesk, TellsWithoutAServiceWhatIsToBeDone) {
    Desk desk(Desk::Bus::StartedByPrograms);
    const std::string alone = desk.folder().path("here/ssoctl");
    std::filesystem::copy(support::builtPath("bin/ssoctl"), alone);
    const ProcessResult result = desk.bash("./ssoctl status");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, StartsWith("ssoctl: "));
    const ProcessResult doctor = desk.bash("./ssoctl doctor");
    EXPECT_EQ(doctor.exitCode, 1);
    EXPECT_THAT(doctor.output,
                AllOf(StartsWith("wrong  service's program: " + desk.folder().path("here/ssod") +
                                 " is not there\n       cure: build it"),
                      HasSubstr("ok     states: " + desk.folder().path("data"))));
}

TEST_F(TheRemoteControl, ExaminesWhatRuns) {
    m_desk.output("ssoctl preset use signed-in && ssoctl fail getGuid && ssoctl clock advance 1h");
    const Json findings = Json::parse(m_desk.output("ssoctl doctor --json"));
    std::string text;
    for (const Json& one : findings) {
        EXPECT_EQ(one["ok"], true);
        text += one["what"].get<std::string>() + ": " + one["is"].get<std::string>() + "\n";
    }
    const std::string folder = m_desk.folder().path("");
    EXPECT_EQ(text, "service's program: " + support::builtPath("bin/ssod") + "\n" +
                        "states: " + folder + "data/sso-desk/states\n" +
                        "bus: private, unix:path=" + folder + "run/sso-desk-bus/bus\n" +
                        "service: " SSO_VERSION
                        "\n"
                        "state: default, robin@user.example is signed in\n"
                        "order: sso_get_guid {\"failure\":-7,\"times\":0}; ssoctl reset takes it "
                        "back\n"
                        "clock: advanced by 3600000 ms; ssoctl clock reset takes it back\n");
}

TEST_F(TheRemoteControl, ToldADamagedStateIsNotWell) {
    m_desk.output(
        "mkdir -p ../data/sso-desk/states && echo nonsense "
        ">../data/sso-desk/states/default.db");
    const ProcessResult status = m_desk.bash("ssoctl status");
    EXPECT_EQ(status.exitCode, 3);
    EXPECT_THAT(status.errors, AllOf(HasSubstr("default.db cannot be used"),
                                     HasSubstr("ssoctl doctor tells more")));
    const ProcessResult doctor = m_desk.bash("ssoctl doctor");
    EXPECT_EQ(doctor.exitCode, 1);
    EXPECT_THAT(doctor.output, HasSubstr("cure: "));
    EXPECT_EQ(m_desk.output("ssoctl --state other account list"), "none\n");
}

using AStateInAFile = Ssoctl;

TEST_F(AStateInAFile, IsForItsUserAloneAndComesBackAsItWas) {
    m_desk.output("ssoctl preset use full");
    const std::string accounts = m_desk.output("ssoctl account list; ssoctl token list");
    EXPECT_EQ(m_desk.output("umask 0; ssoctl state save ./saved"), "saved: ./saved\n");
    EXPECT_EQ(m_desk.output("stat -c %a saved"), "600\n");
    m_desk.output("ssoctl reset --all; ssoctl state load ./saved");
    EXPECT_EQ(m_desk.output("ssoctl account list; ssoctl token list"), accounts);
    m_desk.output("ssoctl state save >piped; ssoctl reset --all; ssoctl state load - <piped");
    EXPECT_EQ(m_desk.output("ssoctl account list; ssoctl token list"), accounts);
    EXPECT_EQ(m_desk.output("ssoctl state save - | cmp - saved"), "");
}

using AWatcher = Ssoctl;

TEST_F(AWatcher, SeesWhatHappensAndNoSecret) {
    const std::string seen = m_desk.output(
        "ssoctl preset use signed-in >/dev/null\n"
        "ssoctl watch --json --count 5 2>watching & watcher=$!\n"
        "while ! grep -qs watching watching; do sleep 0.01; done\n"
        "echo new-password | ssoctl account add new --password-stdin >/dev/null\n"
        R"(echo '{"post":{"command":"sso_plugin_getZEVAccessToken","id":"demo-client",)"
        R"("secret":"demo-secret"}}' | sso-host --state default --grant partner >/dev/null)"
        "\n"
        "ssoctl popup close login >/dev/null\n"
        R"(echo '{"post":{"command":"sso_plugin_show_login_page","data":"x"}}' |)"
        " sso-host --state default --grant partner >/dev/null\n"
        "wait $watcher\n");
    EXPECT_EQ(std::regex_replace(seen, std::regex(R"re("(time|ms)":\d+)re"), "\"$1\":0"),
              R"({"time":0,"event":"changed","what":"accounts"}
{"time":0,"event":"changed","what":"tokens"}
{"time":0,"event":"operation","operation":"sso_request_access_token","result":0,"ms":0}
{"time":0,"event":"changed","what":"orders"}
{"time":0,"event":"popup","popup":1,"kind":"login","is":"open"}
)");
}

TEST_F(AWatcher, WaitsForAnEventThatMatches) {
    const std::string seen = m_desk.output(
        "(sleep 0.2; ssoctl sign-out; ssoctl clock advance 1h >/dev/null) &\n"
        "ssoctl wait-for changed what=clock --within 20s; wait");
    EXPECT_TRUE(std::regex_match(
        seen, std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z changed what=clock\n)")))
        << seen;
}

using AScenario = Ssoctl;

TEST_F(AScenario, RunsUntilALineFails) {
    m_desk.folder().write("here/good", R"(# comments and blank lines are none

preset use signed-out   # this is one, too
! sign-in nobody
account add "kim kim" --password-stdin --uid u --guid g <<< 'kim # password'
sign-in 'kim kim'
wait 1ms
wait-for changed what=session --within 1s
)");
    const std::string output = m_desk.output("ssoctl run good");
    EXPECT_THAT(output, AllOf(HasSubstr("signedIn: kim kim\n"), HasSubstr("changed what=session")));
    struct Row {
        const char* scenario;
        int exitCode;
        const char* errors;
    };
    const Row rows[] = {
        {"sign-out\nsign-in nobody\nsign-in\n", 1, "-:2: there is no account nobody"},
        {"! sign-out\n", 1, "-:1: it was to be refused, and was not"},
        {"! fly\n", 2, "-:1: no such verb; ssoctl --help tells more"},
        {"sign-in 'robin\n", 2, "-:1: a quote does not end"},
        {"run other\n", 2, "-:1: a scenario cannot run another"},
        {"account add x <<<\n", 2, "-:1: one word must follow <<<"},
        {"wait-for popup --within 1ms\n", 4, "-:1: what was waited for has not come"},
        {"account add x --password-stdin\n", 1, "-:1: standard input has no line with it"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.scenario);
        m_desk.folder().write("here/bad", row.scenario);
        const ProcessResult result = m_desk.bash("ssoctl run - <bad");
        EXPECT_EQ(result.exitCode, row.exitCode);
        EXPECT_EQ(result.errors, "ssoctl: " + std::string(row.errors) + "\n");
    }
    EXPECT_THAT(m_desk.output("ssoctl status"), HasSubstr("signedIn: -\n"));
}

using TheCompletion = Ssoctl;

TEST_F(TheCompletion, KnowsVerbsOptionsAndValues) {
    m_desk.output("ssoctl completion bash >completion");
    const auto complete = [&](const std::string& words, int word) {
        return m_desk.output("source ./completion; COMP_WORDS=(" + words + "); COMP_CWORD=" +
                             std::to_string(word) + "; _ssoctl; echo \"${COMPREPLY[*]}\"");
    };
    EXPECT_EQ(complete("ssoctl si", 1), "sign-in sign-out\n");
    EXPECT_EQ(complete("ssoctl --state other account ''", 4),
              "--help --json --state add list remove\n");
    EXPECT_EQ(complete("ssoctl account add --p", 3), "--password-stdin\n");
    EXPECT_EQ(complete("ssoctl preset use s", 3), "signed-in signed-out slow\n");
    EXPECT_EQ(complete("ssoctl popup close l", 3), "login\n");
    EXPECT_EQ(complete("ssoctl fail getAcc", 2), "getAccessToken\n");
    EXPECT_EQ(complete("ssoctl clock ''", 2), "--help --json --state advance reset\n");
    EXPECT_EQ(complete("ssoctl terms add terms-1 --version 2 ''", 6),
              "--help --json --state --text-stdin --title --version\n");
    EXPECT_EQ(complete("ssoctl fail getGuid ''", 3), "--code --help --json --state --times\n");
    EXPECT_EQ(complete("ssoctl account add clock ''", 4),
              "--display-name --guid --help --json --password-stdin --state --uid\n")
        << "an argument is no verb";
    EXPECT_EQ(complete("ssoctl '$(touch made)' sign", 2), "\n");
    EXPECT_FALSE(std::filesystem::exists(m_desk.folder().path("here/made")));
    EXPECT_EQ(complete("ssoctl --state ''", 2), "\n");
    EXPECT_EQ(complete("ssoctl --state clock account ''", 4),
              "--help --json --state add list remove\n");
}

using TheExamples = Ssoctl;

TEST_F(TheExamples, OfTheHelpAllWork) {
    const Json verbs = Json::parse(m_desk.output("ssoctl verbs --json"));
    ASSERT_GT(verbs.size(), 40U);
    m_desk.output("ssoctl preset use full; ssoctl state save begin");  // hashes its passwords once
    for (const Json& verb : verbs) {
        const std::string example = verb["example"];
        SCOPED_TRACE(example);
        const ProcessResult result = m_desk.bash(
            "ssoctl state load begin >/dev/null && ssoctl reset && { " + example + "\n}",
            SSO_SOURCE_DIR);
        // There is no popup here, and no browser that would show one.
        const bool needsPopup = verb["verb"] == "popup fill";
        EXPECT_EQ(result.exitCode, needsPopup ? 1 : 0);
        const std::string error = needsPopup ? "ssoctl: no such popup is open\n" : "";
        EXPECT_EQ(result.errors, verb["verb"] == "watch" ? "watching\n" : error);
    }
}

}  // namespace
