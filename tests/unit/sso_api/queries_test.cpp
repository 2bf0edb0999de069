// The calls that answer at once.

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "fixture.h"

namespace {

constexpr const char* kQueriesAccount = R"({
    "account": {"loginId": "login-1", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1"},
    "terms": {"agreed-1": "agreed", "open-1": "notAgreed", "": "agreed"}})";

using AQuery = TheClientLibrary;

TEST_F(AQuery, TellsOfTheSignedInAccount) {
    useAccount(kQueriesAccount);
    EXPECT_EQ(loginState(), "0 1");
    EXPECT_EQ(termState("agreed-1"), "0 1");
    EXPECT_EQ(termState("open-1"), "0 0");
    EXPECT_EQ(termState(""), "0 1");
    EXPECT_EQ(termState("other-1"), "-5 77");
    EXPECT_EQ(loginInfo(), "0 login-1 uid-1");
    EXPECT_EQ(guid(), "0 guid-1");
    EXPECT_EQ(authToken(), "0 auth-1");
}

TEST_F(AQuery, FailsWhenNobodyIsSignedIn) {
    EXPECT_EQ(loginState(), "0 0");
    EXPECT_EQ(termState("agreed-1"), "-2 77");
    EXPECT_EQ(loginInfo(), "-2 untouched untouched");
    EXPECT_EQ(guid(), "-2 untouched");
    EXPECT_EQ(authToken(), "-2 untouched");
}

TEST_F(AQuery, FailsWhenTheAccountIsSignedOut) {
    std::string account = kQueriesAccount;
    account.replace(1, 0, R"("signedIn": false, )");
    useAccount(account);
    EXPECT_EQ(loginState(), "0 0");
    EXPECT_EQ(termState("agreed-1"), "-2 77");
    EXPECT_EQ(loginInfo(), "-2 untouched untouched");
    EXPECT_EQ(guid(), "-2 untouched");
    EXPECT_EQ(authToken(), "-2 untouched");
}

TEST_F(AQuery, RefusesNullPointersSignedInOrNot) {
    for (const char* account : {kQueriesAccount, static_cast<const char*>(nullptr)}) {
        ASSERT_EQ(sso_api_control_set_account(account), 0);
        int state = 77;
        EXPECT_EQ(sso_get_login_state(nullptr), -4);
        EXPECT_EQ(sso_get_term_state(nullptr, &state), -4);
        EXPECT_EQ(state, 77);
        EXPECT_EQ(sso_get_term_state("agreed-1", nullptr), -4);
        EXPECT_EQ(sso_get_login_info(nullptr), -4);
        EXPECT_EQ(sso_get_guid(nullptr), -4);
        EXPECT_EQ(sso_get_auth_token(nullptr), -4);
    }
}

TEST_F(AQuery, GivesEachCallerACopyToRelease) {
    useAccount(kQueriesAccount);
    char* one = nullptr;
    char* two = nullptr;
    ASSERT_EQ(sso_get_guid(&one), 0);
    ASSERT_EQ(sso_get_guid(&two), 0);
    EXPECT_NE(one, two);
    std::memset(one, '#', std::strlen(one));
    EXPECT_STREQ(two, "guid-1");
    EXPECT_EQ(guid(), "0 guid-1");
    std::free(one);
    std::free(two);
}

TEST_F(AQuery, FillsTheWholeLoginRecord) {
    const std::string longest(255, 'l');
    const std::string wide = "\xE2\x82\xAC";  // 3 bytes
    std::string widest;
    for (int i = 0; i < 85; ++i) {
        widest += wide;
    }
    useAccount(R"({"account": {"loginId": ")" + longest + R"(", "uid": ")" + widest +
               R"(", "guid": "g", "authToken": "t"}})");
    sso_login_info info;
    std::memset(&info, '#', sizeof info);
    ASSERT_EQ(sso_get_login_info(&info), 0);
    EXPECT_EQ(info.login_id, longest);
    EXPECT_EQ(info.uid, widest);
    EXPECT_EQ(std::string(info.reserved, sizeof info.reserved), std::string(896, '\0'));
    useAccount(kQueriesAccount);
    std::memset(&info, '#', sizeof info);
    ASSERT_EQ(sso_get_login_info(&info), 0);
    EXPECT_EQ(std::string(info.login_id, 256), "login-1" + std::string(249, '\0'));
    EXPECT_EQ(std::string(info.uid, 256), "uid-1" + std::string(251, '\0'));
}

TEST_F(AQuery, GivesTextsOfAnyLength) {
    const std::string text(100000, 'x');
    useAccount(R"({"account": {"loginId": "", "uid": "", "guid": ")" + text +
               R"(", "authToken": ""}})");
    EXPECT_EQ(guid(), "0 " + text);
    EXPECT_EQ(authToken(), "0 ");
    EXPECT_EQ(loginInfo(), "0  ");
}

class AnUnavailableFunction : public TheClientLibrary {
  protected:
    /// What every function gives, the operations when they are started.
    std::map<std::string, std::string> resultsWithout(const std::string& unavailable) {
        useAccount(R"({
            "account": {"loginId": "login-1", "uid": "uid-1", "guid": "guid-1",
                        "authToken": "auth-1"},
            "terms": {"terms": "agreed"},
            "unavailable": [)" +
                   unavailable + "]}");
        sso_api_control_set_held(1);
        Callbacks callbacks;
        return {
            {"sso_show", std::to_string(callbacks.show(""))},
            {"sso_show_term_page", std::to_string(callbacks.showTerms("", "terms"))},
            {"sso_request_access_token",
             std::to_string(callbacks.requestToken("", "id", "secret"))},
            {"sso_get_cp_account_mapping_list",
             std::to_string(callbacks.listMappings("", "app", "cp"))},
            {"sso_add_cp_account_mapping_info",
             std::to_string(callbacks.addMapping("", "app", "cp", "uid"))},
            {"sso_remove_cp_account_mapping_info",
             std::to_string(callbacks.removeMapping("", "app", "cp", "uid"))},
            {"sso_get_login_state", loginState()},
            {"sso_get_term_state", termState("terms")},
            {"sso_get_login_info", loginInfo()},
            {"sso_get_guid", guid()},
            {"sso_get_auth_token", authToken()},
            {"outstanding", std::to_string(sso_api_control_outstanding())},
            {"sso_give_proxy", std::to_string(sso_give_proxy())},
        };
    }
};

TEST_F(AnUnavailableFunction, FailsAlone) {
    const std::map<std::string, std::string> available = {
        {"sso_show", "0"},
        {"sso_show_term_page", "0"},
        {"sso_request_access_token", "0"},
        {"sso_get_cp_account_mapping_list", "0"},
        {"sso_add_cp_account_mapping_info", "0"},
        {"sso_remove_cp_account_mapping_info", "0"},
        {"sso_get_login_state", "0 1"},
        {"sso_get_term_state", "0 1"},
        {"sso_get_login_info", "0 login-1 uid-1"},
        {"sso_get_guid", "0 guid-1"},
        {"sso_get_auth_token", "0 auth-1"},
        {"sso_give_proxy", "0"},
        {"outstanding", "6"},
    };
    EXPECT_EQ(resultsWithout(""), available);
    const std::map<std::string, std::string> failures = {
        {"sso_show", "-1"},
        {"sso_show_term_page", "-1"},
        {"sso_request_access_token", "-1"},
        {"sso_get_cp_account_mapping_list", "-1"},
        {"sso_add_cp_account_mapping_info", "-1"},
        {"sso_remove_cp_account_mapping_info", "-1"},
        {"sso_get_login_state", "-7 77"},
        {"sso_get_term_state", "-7 77"},
        {"sso_get_login_info", "-7 untouched untouched"},
        {"sso_get_guid", "-7 untouched"},
        {"sso_get_auth_token", "-7 untouched"},
    };
    for (const auto& [name, failure] : failures) {
        SCOPED_TRACE(name);
        auto expected = available;
        expected[name] = failure;
        if (failure == "-1") {
            expected["outstanding"] = "5";
        }
        EXPECT_EQ(resultsWithout("\"" + name + "\""), expected);
    }
}

}  // namespace
