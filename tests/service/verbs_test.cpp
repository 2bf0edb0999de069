// The tree of verbs, and the operations that verbs are about.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>

#include "account/operation_names.h"
#include "operations.h"
#include "protocol_data.h"
#include "verb_fixture.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using TheVerbs = VerbTest;

TEST_F(TheVerbs, EachHaveAnExampleInTheirHelpThatUsesThem) {
    const Json verbs = done("verbs");
    ASSERT_GT(verbs.size(), 40U);
    for (const Json& verb : verbs) {
        const std::string name = verb["verb"];
        SCOPED_TRACE(name);
        EXPECT_THAT(verb["example"].get<std::string>(), HasSubstr("ssoctl " + name));
        std::vector<std::string> words;
        std::istringstream stream(name + " --help");
        for (std::string word; stream >> word;) words.push_back(word);
        EXPECT_THAT(runWords(words).output,
                    AllOf(HasSubstr(verb["about"].get<std::string>()),
                          HasSubstr("Example:\n  " + verb["example"].get<std::string>())));
    }
}

TEST_F(TheVerbs, TellWhatIsWrongWithTheWordsAndQuoteNoneThatMayBeASecret) {
    struct Row {
        Words words;
        const char* error;
    };
    const Row rows[] = {
        {{}, "no such verb; ssoctl --help tells more"},
        {{"fly"}, "no such verb; ssoctl --help tells more"},
        {{"--fly"}, "no such verb; ssoctl --help tells more"},
        {{"account"}, "account: no such verb; ssoctl account --help tells more"},
        {{"account", "fly"}, "account: no such verb; ssoctl account --help tells more"},
        {{"account", "add"},
         "account add: LOGIN is required; ssoctl account add --help tells more"},
        {{"account", "add", "kim", "hunter22"},
         "account add: an argument too many; ssoctl account add --help tells more"},
        {{"account", "add", "kim", "--password=hunter22"},
         "account add: an argument too many; ssoctl account add --help tells more"},
        {{"account", "add", ""}, "account add: LOGIN: must not be empty"},
        {{"account", "add", std::string(256, 'k')},
         "account add: LOGIN: must not be longer than 255 bytes"},
        {{"clock", "fly"}, "clock: an argument too many; ssoctl clock --help tells more"},
        {{"popup", "close", "menu"}, "popup close: KIND: menu not in {login,createAccount,terms}"},
        {{"fail", "all", "--times", "0"}, "fail: --times: Value 0 not in range 1 to 1000000"},
        {{"state", "save", "../x"},
         "state save: NAME-or-FILE: a state's name must have at most 64 letters, digits, dots, "
         "dashes and underscores, and no dot first"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.error);
        const service::VerbResult result = runWords(row.words);
        EXPECT_EQ(result.exitCode, service::kVerbUnknown);
        EXPECT_EQ(result.error, row.error);
        EXPECT_EQ(result.output, "");
    }
    EXPECT_THAT(m_events, ElementsAre());
}

TEST_F(TheVerbs, TakeNoSecretAsAnArgument) {
    // Everybody on the machine sees the arguments of a process.
    for (const Json& verb : done("verbs")) {
        for (const std::string option : verb["options"]) {
            SCOPED_TRACE(verb["verb"].get<std::string>() + " " + option);
            const bool isSecret = option.find("password") != std::string::npos ||
                                  option.find("secret") != std::string::npos ||
                                  option.find("token") != std::string::npos;
            if (isSecret) {
                EXPECT_THAT(option, EndsWith("-stdin"));
            }
        }
    }
}

using AnOperation = VerbTest;

TEST_F(AnOperation, IsKnownByEachCommandOfTheProtocolInThreeSpellings) {
    const auto& commands = contract::protocol().commands;
    ASSERT_EQ(service::commandOperations().size(), commands.size());
    for (std::size_t i = 0; i < commands.size(); ++i) {
        const service::CommandOperations& row = service::commandOperations()[i];
        SCOPED_TRACE(row.command);
        EXPECT_EQ(row.command, commands[i].name);
        if (row.operations.empty()) continue;
        EXPECT_EQ(service::operationsFrom(row.command), row.operations);
        EXPECT_EQ(service::operationsFrom(row.shortName), row.operations);
        EXPECT_EQ(service::operationsFrom(row.command.substr(11)), row.operations);
    }
}

TEST_F(AnOperation, IsMeantByAll) {
    std::set<account::Operation> ofCommands;
    for (const auto& row : service::commandOperations()) {
        ofCommands.insert(row.operations.begin(), row.operations.end());
    }
    EXPECT_EQ(ofCommands.size(), account::operationNames().size());
    EXPECT_EQ(service::operationsFrom("all").size(), account::operationNames().size());
}

TEST_F(AnOperation, FailsHangsAndTakesLongerUntilReset) {
    EXPECT_EQ(done("fail getAccessToken --times 2 --code -5").dump(),
              R"({"sso_request_access_token":{"failure":-5,"times":2}})");
    EXPECT_EQ(done("fail sso_get_guid").dump(), R"({"sso_get_guid":{"failure":-7,"times":0}})");
    EXPECT_EQ(done("delay getAccessToken 1500").dump(),
              R"({"sso_request_access_token":{"delayMs":1500,"failure":-5,"times":2}})");
    EXPECT_EQ(done("hang getLoginStatus").dump(), R"({"sso_get_login_state":{"hangs":true}})");
    EXPECT_EQ(done("delay getSSOState 1s").dump(),
              R"({"sso_get_login_info":{"delayMs":1000},"sso_get_auth_token":{"delayMs":1000},)"
              R"("sso_get_guid":{"delayMs":1000,"failure":-7,"times":0}})");
    const auto operation = account::Operation::RequestAccessToken;
    EXPECT_EQ(state().takeFailure(operation, true), std::nullopt);
    EXPECT_EQ(state().takeFailure(operation, false), -5);
    restart();
    EXPECT_EQ(state().takeFailure(operation, false), -5);
    EXPECT_EQ(state().takeFailure(operation, false), std::nullopt);
    EXPECT_EQ(state().orders().delayOf(operation), std::chrono::milliseconds(1500));
    done("popup close login");
    done("reset");
    EXPECT_EQ(done("status")["orders"].dump(), "{}");
    EXPECT_EQ(done("status")["nextPopups"].dump(), "{}");
}

TEST_F(AnOperation, IsRefusedWhenItIsNoneOrCannotFail) {
    EXPECT_THAT(refused("fail signOut"), StartsWith("no such operation; there are showLoginPage,"));
    EXPECT_EQ(refused("hang getVersion"),
              "getVersion asks nothing of the account service: it cannot fail");
    EXPECT_EQ(refused("fail getGuid --code 0"), "code 0 is success");
    EXPECT_EQ(refused("delay getGuid 11m"), "a delay must be at most 10m");
    EXPECT_EQ(done("status")["orders"].dump(), "{}");
}

using TheClock = VerbTest;

TEST_F(TheClock, IsAdvancedStepByStepAndStaysSo) {
    EXPECT_EQ(done("clock")["advancedMs"], 0);
    EXPECT_EQ(done("clock advance 24h")["advancedMs"], 86400000);
    EXPECT_EQ(done("clock advance 500ms")["advancedMs"], 86400500);
    restart();
    EXPECT_EQ(done("clock")["advancedMs"], 86400500);
    EXPECT_EQ(done("clock reset")["advancedMs"], 0);
}

TEST_F(TheClock, RefusesWhatIsNoTime) {
    for (const char* time :
         {"24", "h", "1.5h", "-1h", "1w", "24 h", "99999999999999ms", "36601d"}) {
        SCOPED_TRACE(time);
        EXPECT_EQ(runWords({"clock", "advance", time}).exitCode, service::kVerbRefused);
    }
    EXPECT_EQ(done("clock advance 36500d")["advancedMs"], 36500LL * 86400000);
    EXPECT_THAT(refused("clock advance 36500d"), HasSubstr("in all"));
    EXPECT_EQ(done("clock")["advancedMs"], 36500LL * 86400000);
}

using WhatSsoctlDoes = VerbTest;

TEST_F(WhatSsoctlDoes, IsUnderstoodHere) {
    EXPECT_EQ(done("run file").dump(), R"({"file":"file"})");
    EXPECT_EQ(done("wait 2s").dump(), R"({"ms":2000})");
    EXPECT_EQ(done("watch").dump(), R"({"count":0,"forMs":null})");
    EXPECT_EQ(done("watch --count 3 --for 1m").dump(), R"({"count":3,"forMs":60000})");
    EXPECT_EQ(done("wait-for popup kind=login").dump(),
              R"({"members":{"event":"popup","kind":"login"},"withinMs":30000})");
    EXPECT_EQ(refused("wait-for popup what=open"),
              "the event popup has no member what; it has popup, kind, is, state");
    EXPECT_EQ(runWords({"wait-for", "popup-opened"}).exitCode, service::kVerbUnknown);
    EXPECT_EQ(refused("wait-for popup login"), "a member must be NAME=VALUE, such as kind=login");
}

}  // namespace
