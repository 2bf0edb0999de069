// What a page gets for each request, from the native host.

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

#include "plugin_test.h"
#include "rows.h"
#include "sso_api_control.h"
#include "visits.h"

namespace {

using host::Value;
using support::json;

unsigned privilegesOf(const char* names) {
    unsigned privileges = support::kNone;
    std::istringstream list(names);
    for (std::string name; list >> name;) {
        if (name == "sso.partner") {
            privileges |= support::kPartner;
        } else if (name == "sso.platform") {
            privileges |= support::kPlatform;
        } else if (name == "sso.public") {
            privileges |= support::kPublic;
        } else {
            ADD_FAILURE() << "no privilege: " << name;
        }
    }
    return privileges;
}

class TheContractOnTheNativeHost : public support::PluginTest {
  protected:
    /// An instance for an application that holds the privileges; made once for each set.
    PP_Instance instanceWith(unsigned privileges) {
        PP_Instance& instance = m_instances[privileges];
        if (instance == 0) instance = embedWith(privileges);
        return instance;
    }

    void expectAnswer(contract::Path path, PP_Instance instance, const char* request,
                      const char* answer) {
        if (path == contract::Path::Async) {
            EXPECT_EQ(answerTo(instance, json(request)), json(answer));
        } else {
            EXPECT_EQ(replyTo(instance, json(request)), json(answer));
            EXPECT_TRUE(takeAnswers().empty()) << "a blocking request posts nothing";
        }
    }

    template <std::size_t count>
    void expectRows(const contract::Row (&rows)[count]) {
        for (const contract::Row& row : rows) {
            SCOPED_TRACE(std::string(row.title) + ": " + row.request);
            expectAnswer(row.path, instanceWith(privilegesOf(row.privileges)), row.request,
                         row.answer);
        }
        EXPECT_TRUE(m_recorder.libraryCalls().empty()) << "no row starts anything";
    }

    template <std::size_t count>
    void expectVisit(const char* account, const contract::Exchange (&visit)[count]) {
        std::ifstream file(std::string(SSO_SOURCE_DIR "/account/examples/") + account);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        ASSERT_EQ(sso_api_control_set_account(text.c_str()), SSO_OK);
        sso_api_control_set_held(0);
        const PP_Instance instance = embedWith(support::kAll);
        for (const contract::Exchange& exchange : visit) {
            SCOPED_TRACE(exchange.request);
            if (exchange.path == contract::Path::Blocking) {
                EXPECT_EQ(replyTo(instance, json(exchange.request)), json(exchange.answer));
                continue;
            }
            host().post(instance, json(exchange.request));
            ASSERT_TRUE(host().waitForMessages(1, std::chrono::seconds(30)));
            EXPECT_THAT(takeAnswers(), ::testing::ElementsAre(json(exchange.answer)));
        }
        EXPECT_TRUE(host().drain(instance));
        EXPECT_TRUE(takeAnswers().empty()) << "every request has one answer";
    }

  private:
    std::map<unsigned, PP_Instance> m_instances;
};

TEST_F(TheContractOnTheNativeHost, AnswersEveryErrorAsTheTableSays) {
    expectRows(contract::kErrorRows);
}

TEST_F(TheContractOnTheNativeHost, AnswersEveryImmediateCommandAsTheTableSays) {
    expectRows(contract::kCommandRows);
}

TEST_F(TheContractOnTheNativeHost, AnswersWhatJsonHasNoWordsForAsTheTableSays) {
    const PP_Instance instance = instanceWith(support::kAll);
    for (const contract::SpecialRow& row : contract::kSpecialRows) {
        SCOPED_TRACE(std::string(row.title) + ": " + row.javaScript);
        expectAnswer(row.path, instance, row.request, row.answer);
    }
}

TEST_F(TheContractOnTheNativeHost, AnswersALoginPageThatEndsByItself) {
    support::endPopupsAfter(0, "completed");
    const PP_Instance instance = instanceWith(support::kPartner);
    host().post(instance, json(contract::kLoginRequest));
    ASSERT_TRUE(host().waitForMessages(1, std::chrono::seconds(30)));
    EXPECT_THAT(takeAnswers(), ::testing::ElementsAre(json(contract::kLoginAnswer)));
}

TEST_F(TheContractOnTheNativeHost, AnswersALoginPageThatCannotBeShown) {
    sso_api_control_set_start_result(SSO_ERROR_NOT_STARTED);
    EXPECT_EQ(answerTo(instanceWith(support::kPartner), json(contract::kLoginRequest)),
              json(contract::kLoginNotStarted));
}

TEST_F(TheContractOnTheNativeHost, ServesAPageOnADeviceThatIsSignedIn) {
    expectVisit(contract::kSignedInAccount, contract::kSignedInVisit);
}

TEST_F(TheContractOnTheNativeHost, ServesAPageOnADeviceThatIsSignedOut) {
    expectVisit(contract::kSignedOutAccount, contract::kSignedOutVisit);
}

TEST_F(TheContractOnTheNativeHost, ServesAPageWhenEverythingFails) {
    expectVisit(contract::kFailingAccount, contract::kFailingVisit);
}

template <std::size_t count>
std::set<std::string> commandsOf(const contract::Exchange (&visit)[count]) {
    std::set<std::string> commands;
    for (const contract::Exchange& exchange : visit) {
        commands.insert(json(exchange.request)["command"].asString());
    }
    return commands;
}

TEST(TheContract, UsesEveryCommandOnEveryVisit) {
    std::set<std::string> commands;
    for (const contract::Command& command : contract::kCommands) commands.insert(command.name);
    EXPECT_EQ(commandsOf(contract::kSignedInVisit), commands);
    EXPECT_EQ(commandsOf(contract::kSignedOutVisit), commands);
    EXPECT_EQ(commandsOf(contract::kFailingVisit), commands);
}

// The table has to be complete: each command is refused, and is unknown to the other path.
TEST(TheContract, RefusesEveryCommandOnBothPathsAndKnowsItOnOneOnly) {
    for (const contract::Command& command : contract::kCommands) {
        SCOPED_TRACE(command.name);
        const Value request = support::requestOf(command.name);
        int refused[2] = {0, 0};
        int unknown[2] = {0, 0};
        for (const contract::Row& row : contract::kErrorRows) {
            if (json(row.request) != request) continue;
            const Value answer = json(row.answer);
            const bool async = row.path == contract::Path::Async;
            const std::string& message = answer["errorMessage"].asString();
            if (message == "You do not have the privilege") ++refused[async ? 0 : 1];
            if (message == "Command no recognized") ++unknown[0];
            if (message == "unkown command") ++unknown[1];
        }
        EXPECT_THAT(refused, ::testing::ElementsAre(1, 1));
        const bool async = command.path == contract::Path::Async;
        EXPECT_THAT(unknown, ::testing::ElementsAre(async ? 0 : 1, async ? 1 : 0));
    }
}

}  // namespace
