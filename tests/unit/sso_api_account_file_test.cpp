// The reader of account files, with every complaint it has.

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "sso_account_file.h"
#include "sso_api_account_files.h"
#include "temporary_folder.h"

namespace {

using sso_api::AccountFile;
using sso_api::AccountFileError;
using sso_api::Mapping;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::Pair;

constexpr const char* kIdentity =
    R"({"loginId": "login-1", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1"})";

/// What is wrong with a file of that content; "" when nothing is.
std::string complaint(const std::string& json) {
    try {
        sso_api::parseAccountFile(json, "file");
        return "";
    } catch (const AccountFileError& error) {
        return error.what();
    }
}

std::string complaintOnFile(const std::string& path) {
    try {
        sso_api::readAccountFile(path);
        return "";
    } catch (const AccountFileError& error) {
        return error.what();
    }
}

TEST(AnAccountFile, MayBeEmptyOfMembers) {
    const AccountFile file = sso_api::parseAccountFile("{}", "file");
    EXPECT_FALSE(file.identity);
    EXPECT_FALSE(file.signedIn);
    for (const sso_api::Popup& popup : {file.login, file.createAccount, file.terms}) {
        EXPECT_EQ(popup.state, 0);
        EXPECT_EQ(popup.delay, milliseconds(200));
    }
    EXPECT_EQ(file.requestDelay, milliseconds(0));
    EXPECT_TRUE(file.clients.empty());
    EXPECT_TRUE(file.mappings.empty());
    EXPECT_TRUE(file.agreements.empty());
    EXPECT_TRUE(file.unavailable.empty());
}

TEST(AnAccountFile, TellsAllItSays) {
    const AccountFile file = sso_api::parseAccountFile(R"({
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
    ASSERT_TRUE(file.identity);
    EXPECT_EQ(file.identity->loginId, "login-1");
    EXPECT_EQ(file.identity->uid, "uid-1");
    EXPECT_EQ(file.identity->guid, "guid-1");
    EXPECT_EQ(file.identity->authToken, "auth-1");
    EXPECT_FALSE(file.signedIn);
    EXPECT_EQ(file.login.state, 1);
    EXPECT_EQ(file.login.delay, milliseconds(1));
    EXPECT_EQ(file.createAccount.state, 2);
    EXPECT_EQ(file.createAccount.delay, milliseconds(600000));
    EXPECT_EQ(file.terms.state, 0);
    EXPECT_EQ(file.terms.delay, milliseconds(0));
    EXPECT_EQ(file.requestDelay, milliseconds(4));
    ASSERT_EQ(file.clients.size(), 2U);
    EXPECT_EQ(file.clients.at("c1").secret, "s1");
    EXPECT_EQ(file.clients.at("c1").token, "t1");
    EXPECT_EQ(file.clients.at("c2").secret, "s2");
    EXPECT_EQ(file.clients.at("c2").token, "t2");
    ASSERT_EQ(file.mappings.size(), 2U);
    EXPECT_EQ(file.mappings[0].appId, "b");
    EXPECT_EQ(file.mappings[0].cpName, "p");
    EXPECT_EQ(file.mappings[0].cpUid, "u");
    EXPECT_EQ(file.mappings[1].appId, "a");
    EXPECT_THAT(file.agreements, ElementsAre(Pair("agreed-1", true), Pair("open-1", false)));
    EXPECT_THAT(file.unavailable, ElementsAre("sso_get_guid", "sso_show"));
}

TEST(AnAccountFile, SignsItsAccountInUnlessItSaysOtherwise) {
    const std::string account = std::string(R"({"account": )") + kIdentity;
    EXPECT_TRUE(sso_api::parseAccountFile(account + "}", "file").signedIn);
    EXPECT_TRUE(sso_api::parseAccountFile(account + R"(, "signedIn": true})", "file").signedIn);
    EXPECT_FALSE(sso_api::parseAccountFile(account + R"(, "signedIn": false})", "file").signedIn);
    EXPECT_TRUE(
        sso_api::parseAccountFile(R"({"signedIn": true, )" + account.substr(1) + "}", "file")
            .signedIn);
    EXPECT_FALSE(sso_api::parseAccountFile(R"({"signedIn": false})", "file").signedIn);
}

TEST(AnAccountFile, MaySpellAWholeNumberAnyWay) {
    for (const char* number : {"200", "200.0", "2e2", "20000E-2"}) {
        SCOPED_TRACE(number);
        EXPECT_EQ(
            sso_api::parseAccountFile(std::string(R"({"requestDelayMs": )") + number + "}", "file")
                .requestDelay,
            milliseconds(200));
    }
    EXPECT_EQ(sso_api::parseAccountFile(R"({"requestDelayMs": -0})", "file").requestDelay,
              milliseconds(0));
}

TEST(AnAccountFile, MayStartWithAByteOrderMark) { EXPECT_EQ(complaint("\xEF\xBB\xBF{}"), ""); }

TEST(AnAccountFile, MayGoToTheLimits) {
    for (const std::string& json : kGoodFiles) {
        EXPECT_EQ(complaint(json), "") << json;
    }
}

TEST(ABadAccountFile, IsRefusedInOneLineThatSaysWhereAndWhy) {
    for (const BadFile& row : kBadFiles) {
        SCOPED_TRACE(row.json.substr(0, 200));
        EXPECT_EQ(complaint(row.json), row.complaint);
    }
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
    EXPECT_EQ(sso_api::readAccountFile(path).identity->uid, "uid-1");
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
