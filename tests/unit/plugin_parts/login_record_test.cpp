// The account's texts, on an SDK whose login record is not the stand-in's.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "SSOUtil.h"
#include "dlog_control.h"
#include "sso_api.h"

namespace {

int g_result = 0;
std::string g_account;
std::string g_number;

class AnotherLoginRecord : public ::testing::Test {
  protected:
    AnotherLoginRecord() {
        dlog_control_set_sink([](const DlogRecord*, void*) {}, nullptr);
        g_result = 0;
        g_account = "sasha";
        g_number = "uid-1";
    }
    ~AnotherLoginRecord() override { dlog_control_set_sink(nullptr, nullptr); }
};

TEST_F(AnotherLoginRecord, HasItsTextsWhereEveryOneHasThem) {
    static_assert(sizeof(account_record_t) == 296);
    EXPECT_EQ(SSOUtil::GetSSOUid(), "uid-1");
    EXPECT_EQ(SSOUtil::GetSSOState(), "sasha?token?uid-1?guid");
}

TEST_F(AnotherLoginRecord, MayFillItsTextsToTheirEnds) {
    g_account = std::string(255, 'a');
    g_number = std::string(39, 'n');
    EXPECT_EQ(SSOUtil::GetSSOUid(), g_number);
    EXPECT_EQ(SSOUtil::GetSSOState(), g_account + "?token?" + g_number + "?guid");
}

TEST_F(AnotherLoginRecord, IsNotReadAfterAFailure) {
    g_result = -7;
    EXPECT_EQ(SSOUtil::GetSSOUid(), "");
    EXPECT_EQ(SSOUtil::GetSSOState(), "");
}

}  // namespace

int sso_get_login_info(account_record_t* record) {
    std::memset(record, 'G', sizeof *record);
    std::strcpy(record->account, g_account.c_str());
    std::strcpy(record->number, g_number.c_str());
    return g_result;
}

int sso_get_guid(char** guid) {
    *guid = strdup("guid");
    return 0;
}

int sso_get_auth_token(char** token) {
    *token = strdup("token");
    return 0;
}
