// The reader of account files, with every complaint it has.

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "account/account_file.h"
#include "account_files.h"
#include "temporary_folder.h"

namespace {

using account::AccountFileError;
using account::Description;
using account::Operation;
using account::PopupState;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::Pair;

constexpr const char* kIdentity =
    R"({"loginId": "login-1", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1"})";

/// What is wrong with a file of that content; "" when nothing is.
std::string complaint(const std::string& json) {
    try {
        account::parseAccountFile(json, "file");
        return "";
    } catch (const AccountFileError& error) {
        return error.what();
    }
}

std::string complaintOnFile(const std::string& path) {
    try {
        account::readAccountFile(path);
        return "";
    } catch (const AccountFileError& error) {
        return error.what();
    }
}

TEST(AnAccountFile, MayBeEmptyOfMembers) {
    const Description file = account::parseAccountFile("{}", "file");
    EXPECT_TRUE(file.profiles.empty());
    EXPECT_FALSE(file.signedIn);
    EXPECT_TRUE(file.clients.empty());
    EXPECT_TRUE(file.terms.empty());
    const account::Behaviour& behaviour = file.behaviour;
    EXPECT_FALSE(behaviour.login);
    EXPECT_FALSE(behaviour.createAccount);
    EXPECT_FALSE(behaviour.terms);
    EXPECT_EQ(behaviour.requestDelay, milliseconds(0));
    EXPECT_TRUE(behaviour.unavailable.empty());
}

TEST(AnAccountFile, TellsAllItSays) {
    const Description file = account::parseAccountFile(R"({
        "$schema": "anything",
        "account": {"loginId": "login-1", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1"},
        "signedIn": false,
        "popups": {"login": {"state": "closed", "delayMs": 1},
                   "createAccount": {"state": "failed", "delayMs": 600000},
                   "terms": {"state": "completed", "delayMs": 0}},
        "requestDelayMs": 4,
        "clients": [{"id": "c1", "secret": "s1", "token": "t1"},
                    {"id": "c2", "secret": "s2", "token": "t2"}],
        "mappings": [{"appID": "b", "cpName": "p", "cpUID": "u"},
                     {"appID": "a", "cpName": "q", "cpUID": "v"}],
        "terms": {"agreed-1": "agreed", "open-1": "notAgreed"},
        "unavailable": ["sso_show", "sso_get_guid", "sso_show"]})",
                                                       "file");
    ASSERT_EQ(file.profiles.size(), 1U);
    const account::Profile& profile = file.profiles.front();
    EXPECT_EQ(profile.identity.loginId, "login-1");
    EXPECT_EQ(profile.identity.uid, "uid-1");
    EXPECT_EQ(profile.identity.guid, "guid-1");
    EXPECT_EQ(profile.identity.authToken, "auth-1");
    EXPECT_FALSE(file.signedIn);
    const account::Behaviour& behaviour = file.behaviour;
    EXPECT_EQ(behaviour.login->state, PopupState::Closed);
    EXPECT_EQ(behaviour.login->delay, milliseconds(1));
    EXPECT_EQ(behaviour.createAccount->state, PopupState::Failed);
    EXPECT_EQ(behaviour.createAccount->delay, milliseconds(600000));
    EXPECT_EQ(behaviour.terms->state, PopupState::Completed);
    EXPECT_EQ(behaviour.terms->delay, milliseconds(0));
    EXPECT_EQ(behaviour.requestDelay, milliseconds(4));
    ASSERT_EQ(file.clients.size(), 2U);
    EXPECT_EQ(file.clients.at("c1").secret, "s1");
    EXPECT_EQ(file.clients.at("c1").token, "t1");
    EXPECT_EQ(file.clients.at("c2").secret, "s2");
    EXPECT_EQ(file.clients.at("c2").token, "t2");
    EXPECT_EQ(toJson(profile.mappings.all()), R"([{"appID":"b","cpName":"p","cpUID":"u"},)"
                                              R"({"appID":"a","cpName":"q","cpUID":"v"}])");
    EXPECT_EQ(file.terms.size(), 2U);
    EXPECT_EQ(file.terms.at("open-1").version, "1");
    EXPECT_THAT(profile.agreements, ElementsAre(Pair("agreed-1", "1")));
    EXPECT_THAT(behaviour.unavailable, ElementsAre(Operation::ShowLogin, Operation::GetGuid));
}

TEST(AnAccountFile, NamesOperationsByTheFunctionsOfTheClientLibrary) {
    const std::pair<const char*, Operation> rows[] = {
        {"sso_show", Operation::ShowLogin},
        {"sso_show_term_page", Operation::ShowTerms},
        {"sso_request_access_token", Operation::RequestAccessToken},
        {"sso_get_cp_account_mapping_list", Operation::ListMappings},
        {"sso_add_cp_account_mapping_info", Operation::AddMapping},
        {"sso_remove_cp_account_mapping_info", Operation::RemoveMapping},
        {"sso_get_login_state", Operation::GetLoginState},
        {"sso_get_term_state", Operation::GetTermState},
        {"sso_get_login_info", Operation::GetLoginInfo},
        {"sso_get_guid", Operation::GetGuid},
        {"sso_get_auth_token", Operation::GetAuthToken},
    };
    for (const auto& [name, operation] : rows) {
        SCOPED_TRACE(name);
        const std::string json = std::string(R"({"unavailable": [")") + name + "\"]}";
        EXPECT_THAT(account::parseAccountFile(json, "file").behaviour.unavailable,
                    ElementsAre(operation));
    }
}

TEST(AnAccountFile, SignsItsAccountInUnlessItSaysOtherwise) {
    const std::string account = std::string(R"({"account": )") + kIdentity;
    EXPECT_TRUE(account::parseAccountFile(account + "}", "file").signedIn);
    EXPECT_TRUE(account::parseAccountFile(account + R"(, "signedIn": true})", "file").signedIn);
    EXPECT_FALSE(account::parseAccountFile(account + R"(, "signedIn": false})", "file").signedIn);
    EXPECT_TRUE(
        account::parseAccountFile(R"({"signedIn": true, )" + account.substr(1) + "}", "file")
            .signedIn);
    EXPECT_FALSE(account::parseAccountFile(R"({"signedIn": false})", "file").signedIn);
}

TEST(AnAccountFile, MaySpellAWholeNumberAnyWay) {
    for (const char* number : {"200", "200.0", "2e2", "20000E-2"}) {
        SCOPED_TRACE(number);
        EXPECT_EQ(
            account::parseAccountFile(std::string(R"({"requestDelayMs": )") + number + "}", "file")
                .behaviour.requestDelay,
            milliseconds(200));
    }
    EXPECT_EQ(account::parseAccountFile(R"({"requestDelayMs": -0})", "file").behaviour.requestDelay,
              milliseconds(0));
}

TEST(AnAccountFile, MayStartWithAByteOrderMark) { EXPECT_EQ(complaint("\xEF\xBB\xBF{}"), ""); }

TEST(AnAccountFile, MayGoToTheLimits) {
    for (const std::string& json : kGoodFiles) {
        EXPECT_EQ(complaint(json), "") << json;
    }
}

TEST(ABadAccountFile, IsRefusedWithALineThatSaysWhereAndWhyForEachMistake) {
    for (const BadFile& row : kBadFiles) {
        SCOPED_TRACE(row.json.substr(0, 200));
        EXPECT_EQ(complaint(row.json), row.complaint);
    }
}

TEST(AnAccountFile, MayHaveAnyTimeThatANumberOfJsonHoldsExactly) {
    const auto fileWith = [](const std::string& expiry) {
        return R"({"account": {"loginId": "l", "uid": "", "guid": "", "authToken": ""},
                   "clients": [{"id": "c", "secret": "", "token": ""}],
                   "tokens": [{"loginId": "l", "client": "c", "token": "t", "expiry": )" +
               expiry + "}]}";
    };
    const Description read = account::parseAccountFile(fileWith("4503599627370496"), "file");
    ASSERT_EQ(read.profiles.size(), 1U);
    EXPECT_EQ(read.profiles[0].tokens.at("c").expiry, 4503599627370496);
    EXPECT_EQ(complaint(fileWith("4503599627370497")),
              "file:3: tokens[0].expiry: must be a whole number from 0 to 4503599627370496");
}

TEST(ABadAccountFile, IsToldAllItsMistakesAtOnce) {
    EXPECT_EQ(
        complaint(R"({
        "account": {"loginId": 1, "uid": "", "guid": "", "name": ""},
        "popups": {"login": {"state": "open", "delayMs": -1}},
        "clients": [{"id": "a"}, 7],
        "terms": {"a": "yes", "a": "agreed"},
        "what": 1})"),
        "file:2: account.loginId: must be a text\n"
        "file:2: account.name: is not known here; known are loginId, uid, guid, "
        "authToken, displayName, password\n"
        "file:2: account.authToken: is missing\n"
        "file:3: popups.login.state: must be \"completed\", \"closed\" or \"failed\"\n"
        "file:3: popups.login.delayMs: must be a whole number from 0 to 600000\n"
        "file:4: clients[0].secret: is missing\n"
        "file:4: clients[0].token: is missing\n"
        "file:4: clients[1]: must be an object\n"
        "file:5: terms.a: is there twice\n"
        "file:5: terms.a: must be \"agreed\" or \"notAgreed\"\n"
        "file:6: what: is not known here; known are $schema, account, signedIn, popups, "
        "requestDelayMs, clients, mappings, terms, unavailable, accounts, signedInAs, tokens");
}

TEST(ABadAccountFile, QuotesNoTextOfTheFile) {
    // Each has the secret in a place where the reader stumbles.
    for (
        const char* json : {
            R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "hush-1" "hush-1"}})",
            R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "hush-1)",
            R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "hush-1\x"}})",
            R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": ["hush-1"]}})",
            R"({"account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "hush-1\u0000"}})",
            R"({"clients": [{"id": "c", "secret": "hush-1", "token": "hush-1"},
                             {"id": "c", "secret": "hush-1", "token": "hush-1"}]})",
            R"({"mappings": [{"appID": "hush-1", "cpName": "hush-1", "cpUID": "hush-1"},
                              {"appID": "hush-1", "cpName": "hush-1", "cpUID": "hush-1"}]})",
            R"({"popups": {"login": {"state": "hush-1"}}})",
            R"({"terms": {"terms-1": "hush-1"}})",
            R"({"unavailable": ["hush-1"]})",
            R"({"signedIn": "hush-1"})",
            R"("hush-1")",
            R"(hush-1)",
        }) {
        SCOPED_TRACE(json);
        const std::string message = complaint(json);
        EXPECT_NE(message, "");
        EXPECT_EQ(message.find("hush"), std::string::npos) << message;
    }
}

TEST(AFile, IsReadFromItsPath) {
    const support::TemporaryFolder folder;
    const std::string path =
        folder.write("account.json", std::string(R"({"account": )") + kIdentity + "}\n");
    EXPECT_EQ(account::readAccountFile(path).profiles.at(0).identity.uid, "uid-1");
}

TEST(AFile, IsNamedInAComplaint) {
    const support::TemporaryFolder folder;
    const std::string path = folder.write("account.json", "{\n  \"signedIn\": 1\n}\n");
    EXPECT_EQ(complaintOnFile(path), path + ":2: signedIn: must be true or false");
}

TEST(AFile, IsRefusedWhenItIsMissingOrNoFile) {
    const support::TemporaryFolder folder;
    EXPECT_EQ(complaintOnFile(folder.path("none.json")), folder.path("none.json: no such file"));
    EXPECT_EQ(complaintOnFile(folder.write("file", "{}") + "/below"),
              folder.path("file/below: no such file"));
    EXPECT_EQ(complaintOnFile(folder.path("")), folder.path(": is not a file"));
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(complaintOnFile(folder.path("pipe")), folder.path("pipe: is not a file"));
    EXPECT_EQ(complaintOnFile("/dev/zero"), "/dev/zero: is not a file");
    EXPECT_EQ(complaintOnFile(""), ": no such file");
}

TEST(AFile, IsRefusedWhenReadingFails) {
    // A regular file whose first page cannot be read.
    EXPECT_EQ(complaintOnFile("/proc/self/mem"), "/proc/self/mem: cannot be read");
    const std::string tooLong(5000, 'n');
    EXPECT_EQ(complaintOnFile("/" + tooLong), "/" + tooLong + ": cannot be read");
}

TEST(AFile, IsRefusedWhenItIsLargerThanItMayBe) {
    const support::TemporaryFolder folder;
    const std::string largest = "{}" + std::string(1024 * 1024 - 2, ' ');
    EXPECT_EQ(complaintOnFile(folder.write("largest", largest)), "");
    const std::string path = folder.write("larger", largest + " ");
    EXPECT_EQ(complaintOnFile(path), path + ": is larger than 1 MiB");
}

}  // namespace
