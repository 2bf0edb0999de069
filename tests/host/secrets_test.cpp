// What tells of a user goes to the page that asks, and into no log, trace or error, and no recording with pseudonyms.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "module_path.h"
#include "process.h"
#include "protocol_data.h"
#include "temporary_folder.h"

namespace {

using contract::Command;
using nlohmann::json;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// Stands in all that tells of the user and nowhere else.
constexpr const char* kMark = "hush-hush-";

const json kUser = {{"loginId", "hush-hush-name"},
                    {"uid", "hush-hush-uid"},
                    {"guid", "hush-hush-guid"},
                    {"authToken", "hush-hush-auth"},
                    {"password", "hush-hush-password"}};
const json kAtOnce = {{"delayMs", 0}};
const json kMarked = {
    {"account", kUser},
    {"popups", {{"login", kAtOnce}, {"createAccount", kAtOnce}, {"terms", kAtOnce}}},
    {"clients", {{{"id", "shop"}, {"secret", "hush-hush-secret"}, {"token", "hush-hush-token"}}}},
    {"mappings", {{{"appID", "app"}, {"cpName", "partner"}, {"cpUID", "hush-hush-partner-uid"}}}}};

/// The request of a command that succeeds.
json markedRequest(const Command& command) {
    json request = {{"command", command.name}};
    for (const contract::Key& key : command.keys) {
        request[key.name] = key.name == "id"       ? "shop"
                            : key.name == "appID"  ? "app"
                            : key.name == "cpName" ? "partner"
                                                   : std::string(kMark) + key.name;
    }
    return request;
}

/// A line of sso-host's input.
std::string inputLine(const Command& command, const json& request) {
    return json{{command.path == contract::Path::Blocking ? "call" : "post", request}}.dump() +
           '\n';
}

/// Each command as it has to be, with each key missing, and with each as a list with a secret in it.
std::string everyRequest() {
    std::string lines;
    for (const Command& command : contract::protocol().commands) {
        const json right = markedRequest(command);
        lines += inputLine(command, right);
        for (const contract::Key& key : command.keys) {
            json without = right;
            without.erase(key.name);
            json listed = right;
            listed[key.name] = {"hush-hush-listed"};
            lines += inputLine(command, without) + inputLine(command, listed);
        }
        json unknown = right;
        unknown["command"] = command.name + "s";
        lines += inputLine(command, unknown);
    }
    return lines;
}

const std::string kTokenRequest = R"({"post": {"command": "sso_plugin_getZEVAccessToken", )"
                                  R"("id": "shop", "secret": "hush-hush-secret"}})"
                                  "\n";

class WhatTellsOfAUser : public ::testing::Test {
  protected:
    /// Runs sso-host with everything written that it can write.
    support::ProcessResult run(const json& account, const std::vector<std::string>& arguments,
                               const std::string& input = everyRequest()) {
        std::vector<std::string> command = {support::builtPath("bin/sso-host"),
                                            "--account",
                                            m_folder.write("account.json", account.dump()),
                                            "--messages",
                                            m_folder.path("messages"),
                                            "--pseudonyms"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        support::ProcessOptions options;
        options.input = input;
        options.environment = {"DLOG_LEVEL=detail", "DLOG_FILE=" + m_folder.path("log"),
                               "HT_TRACE=" + m_folder.path("trace"), "HT_TRACE_TYPES=1"};
        return support::runProcess(command, options);
    }

    void expectNothingTold(const support::ProcessResult& result) {
        EXPECT_THAT(result.errors, Not(HasSubstr(kMark)));
        EXPECT_THAT(m_folder.read("log"),
                    AllOf(HasSubstr("sso_plugin_getZEVAccessToken"), Not(HasSubstr(kMark))));
        EXPECT_THAT(m_folder.read("trace"),
                    AllOf(HasSubstr("HandleMessageImpl"), Not(HasSubstr(kMark))));
        EXPECT_THAT(m_folder.read("messages"),
                    AllOf(HasSubstr("sso_plugin_getZEVAccessToken"), Not(HasSubstr(kMark))));
    }

    const support::TemporaryFolder m_folder;
};

TEST_F(WhatTellsOfAUser, IsAnsweredAndWrittenNowhereElse) {
    const support::ProcessResult result =
        run(kMarked, {"--grant", "partner,platform,public"}, kTokenRequest + everyRequest());
    EXPECT_EQ(result.exitCode, 0) << result.output;
    // It is where it has to be, so it would be seen elsewhere.
    EXPECT_THAT(result.output, AllOf(HasSubstr("hush-hush-token"), HasSubstr("hush-hush-guid"),
                                     HasSubstr("hush-hush-uid"), HasSubstr("hush-hush-auth"),
                                     HasSubstr("hush-hush-partner-uid")));
    expectNothingTold(result);
}

// A recording with pseudonyms calls the parts of an answer by what the protocol's data says that they are.
TEST_F(WhatTellsOfAUser, IsWhatTheDataCallsIt) {
    const json account = {
        {"account",
         {{"loginId", "loginId"}, {"uid", "uid"}, {"guid", "guid"}, {"authToken", "token"}}},
        {"clients", {{{"id", "shop"}, {"secret", "hush-hush-secret"}, {"token", "token"}}}}};
    int looked = 0;
    for (const Command& command : contract::protocol().commands) {
        if (command.holds.empty()) continue;
        const support::ProcessResult result = run(account, {"--grant", "partner,platform,public"},
                                                  inputLine(command, markedRequest(command)));
        ASSERT_THAT(result.outputLines(), ::testing::SizeIs(1)) << command.name;
        const json line = json::parse(result.output);
        const json& answer =
            line.at(command.path == contract::Path::Blocking ? "reply" : "message");
        std::string parts;
        for (const std::string& part : command.holds) parts += (parts.empty() ? "" : "?") + part;
        EXPECT_EQ(answer.at(command.answerKey), parts) << command.name;
        ++looked;
    }
    EXPECT_GT(looked, 0);
}

TEST_F(WhatTellsOfAUser, IsToldNowhereWhenEverythingIsRefused) {
    const support::ProcessResult result = run(kMarked, {"--grant", "public"});
    EXPECT_THAT(result.output, Not(HasSubstr(kMark)));
    expectNothingTold(result);
}

TEST_F(WhatTellsOfAUser, IsToldNowhereWhenEverythingFails) {
    json failing = kMarked;
    for (const char* popup : {"login", "createAccount", "terms"}) {
        failing["popups"][popup]["state"] = "failed";
    }
    failing["clients"] = json::array();
    failing["signedIn"] = false;
    const support::ProcessResult result = run(failing, {"--grant", "partner,platform,public"});
    EXPECT_THAT(result.output, Not(HasSubstr("hush-hush-token")));
    expectNothingTold(result);
}

auto isAnError() { return AllOf(HasSubstr(R"("error":)"), Not(HasSubstr(kMark))); }

TEST_F(WhatTellsOfAUser, IsToldByNoComplaintAboutTheInput) {
    const std::string line = R"({"command": "sso_plugin_getZEVAccessToken", "id": "shop", )"
                             R"("secret": "hush-hush-secret")";
    const support::ProcessResult result =
        run(kMarked, {"--grant", "partner"},
            R"({"post": )" + line + "\n" +                               // cut off
                R"({"post": )" + line + R"(}, "instance": 7})" + "\n" +  // nobody there
                R"({"past": )" + line + "}}\n" +                         // no such thing
                R"({"post": )" + line + "}}\n");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.outputLines(),
                ElementsAre(isAnError(), isAnError(), isAnError(), HasSubstr("hush-hush-token")));
    expectNothingTold(result);
}

TEST_F(WhatTellsOfAUser, IsToldByNoComplaintAboutTheAccount) {
    json wrong = kMarked;
    wrong["account"]["uid"] = {"hush-hush-uid"};
    wrong["clients"][0]["secret"] = {{"hush-hush-key", "hush-hush-secret"}};
    const support::ProcessResult result = run(wrong, {"--grant", "partner"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, AllOf(HasSubstr("account.uid"), HasSubstr("clients[0].secret")));
    EXPECT_THAT(result.errors, Not(HasSubstr("hush-hush-uid")));
    EXPECT_THAT(result.errors, Not(HasSubstr("hush-hush-secret")));
}

TEST_F(WhatTellsOfAUser, IsToldByNoHostWhoseModuleHangs) {
    const support::ProcessResult result =
        run(kMarked, {"--module", support::builtPath("lib/libstuck_module.so"), "--linger", "0"},
            kTokenRequest);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, AllOf(HasSubstr("the post has no answer"), Not(HasSubstr(kMark))));
    EXPECT_THAT(result.errors, Not(HasSubstr(kMark)));
    EXPECT_THAT(m_folder.read("messages"), Not(HasSubstr(kMark)));
}

}  // namespace
