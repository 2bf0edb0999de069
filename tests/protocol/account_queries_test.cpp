// The questions about the account: in which order the client library is asked, what is made of its
// answers, and what becomes of its texts.

#include <gmock/gmock.h>

#include <climits>
#include <cstring>

#include "blocking_commands.h"
#include "protocol_test.h"

namespace protocol {
namespace {

constexpr const char* kState = "sso_plugin_getSSOState";
constexpr const char* kGuid = "sso_plugin_getGuid";
constexpr const char* kUid = "sso_plugin_getLoginUid";

/// Every value but 0 says failure.
constexpr int kFailures[] = {1, -1, -2, -7, 7, INT_MIN, INT_MAX};

/// A login record. What does not matter in it is filled with `garbage`.
sso_login_info infoOf(const std::string& loginId, const std::string& uid, char garbage = 'G') {
    sso_login_info info;
    std::memset(static_cast<void*>(&info), garbage, sizeof info);
    std::memcpy(info.login_id, loginId.c_str(), loginId.size() + 1);
    std::memcpy(info.uid, uid.c_str(), uid.size() + 1);
    return info;
}

EventMatcher query(const char* function) { return called(Supplier::Library, function); }
EventMatcher released(const char* function) {
    return called(Supplier::Memory, std::string("free(") + function + ")");
}

/// The log of a question, with what the client library was asked and what was released.
EventMatchers stateLog(const EventMatchers& calls) {
    return sequence({askedFor(kState),
                     {logged(Kind::Flow, accountPlace("GetSSOState", 6), "GetSSOState START")},
                     calls,
                     {logged(Kind::Flow, accountPlace("GetSSOState", 35), "GetSSOState END")}});
}
EventMatchers guidLog(const EventMatchers& calls) {
    return sequence({askedFor(kGuid),
                     {logged(Kind::Flow, accountPlace("GetSSOGuid", 42), "GetSSOGuid START")},
                     calls,
                     {logged(Kind::Flow, accountPlace("GetSSOGuid", 57), "GetSSOGuid END")}});
}
EventMatchers uidLog(const EventMatchers& calls) {
    return sequence({askedFor(kUid),
                     {logged(Kind::Flow, accountPlace("GetSSOUid", 64), "GetSSOUid START")},
                     calls,
                     {logged(Kind::Flow, accountPlace("GetSSOUid", 73), "GetSSOUid END")}});
}

class AccountTest : public ProtocolTest {
  protected:
    void setInfo(int result, const sso_login_info& info) {
        ASSERT_EQ(setAnswer("sso_get_login_info", {result, nullptr, &info, nullptr}), SSO_OK);
    }
    void setGuid(int result, const char* text) {
        ASSERT_EQ(setAnswer("sso_get_guid", {result, nullptr, nullptr, text}), SSO_OK);
    }
    void setToken(int result, const char* text) {
        ASSERT_EQ(setAnswer("sso_get_auth_token", {result, nullptr, nullptr, text}), SSO_OK);
    }

    /// Asks, and compares the whole reply and all that happened meanwhile.
    void expectReply(const char* command, const Value& value, const EventMatchers& log) {
        m_recorder.clear();
        EXPECT_EQ(replyTo(m_instance, requestOf(command)), goodReply(value));
        EXPECT_THAT(m_recorder.events(), ElementsAreArray(log));
    }

    void SetUp() override { m_instance = embedWith(support::kAll); }

    PP_Instance m_instance = 0;
};

using TheAccountState = AccountTest;
using TheGuid = AccountTest;
using TheLoginUid = AccountTest;

TEST_F(TheAccountState, IsMadeOfFourTexts) {
    setInfo(0, infoOf("first", "uid"));
    setGuid(0, "guid");
    setToken(0, "token");
    expectReply(
        kState, "first?token?uid?guid",
        stateLog({query("sso_get_login_info"), query("sso_get_guid"), query("sso_get_auth_token"),
                  released("sso_get_auth_token"), released("sso_get_guid")}));
}

struct StateRow {
    const char* title;
    std::string first;
    std::string token;
    std::string uid;
    std::string guid;
    std::string state;
};

const std::string kLongest(255, 'l');
const std::string kLongestToo(255, 'u');
const std::string kMebibyte(1 << 20, 'm');
const std::string kLong(100000, 'g');

const std::vector<StateRow> kStateRows = {
    {"plain texts", "a", "b", "c", "d", "a?b?c?d"},
    {"no texts", "", "", "", "", "???"},
    {"no token", "a", "", "c", "d", "a??c?d"},
    {"only a login id", "a", "", "", "", "a???"},
    {"only a token", "", "b", "", "", "?b??"},
    {"only a UID", "", "", "c", "", "??c?"},
    {"only a GUID", "", "", "", "d", "???d"},
    {"the separator in each", "a?", "?b", "?", "d?d", "a???b???d?d"},
    {"escapes", "a\\?", "%3F", "\"", "'", "a\\??%3F?\"?'"},
    {"a format", "%s", "%n", "%d", "%%", "%s?%n?%d?%%"},
    {"control characters", "\n", "\t", "\x01", "\033", "\n?\t?\x01?\033"},
    {"texts that are not ASCII", "\xc3\xbc", "\xe6\x97\xa5", "\xf0\x9f\x98\x80", "\xc3\x9f",
     "\xc3\xbc?\xe6\x97\xa5?\xf0\x9f\x98\x80?\xc3\x9f"},
    {"the longest that the record holds", kLongest, "b", kLongestToo, "d",
     kLongest + "?b?" + kLongestToo + "?d"},
    {"long texts of the library", "a", kMebibyte, "c", kLong, "a?" + kMebibyte + "?c?" + kLong},
};

TEST_F(TheAccountState, KeepsEachTextAsItIs) {
    for (const StateRow& row : kStateRows) {
        SCOPED_TRACE(row.title);
        setInfo(0, infoOf(row.first, row.uid));
        setGuid(0, row.guid.c_str());
        setToken(0, row.token.c_str());
        EXPECT_EQ(replyTo(m_instance, requestOf(kState)), goodReply(row.state));
    }
}

TEST_F(TheAccountState, IsEmptyWithoutALoginRecordAndNothingElseIsAsked) {
    setGuid(0, "guid");
    setToken(0, "token");
    const auto info = infoOf("first", "uid");
    for (const int result : kFailures) {
        SCOPED_TRACE(result);
        for (const sso_login_info* filled : {&info, static_cast<const sso_login_info*>(nullptr)}) {
            ASSERT_EQ(setAnswer("sso_get_login_info", {result, nullptr, filled, nullptr}), SSO_OK);
            expectReply(kState, "", stateLog({query("sso_get_login_info")}));
        }
    }
}

TEST_F(TheAccountState, IsEmptyWithoutAGuidAndNoTokenIsAskedFor) {
    setInfo(0, infoOf("first", "uid"));
    setToken(0, "token");
    for (const int result : kFailures) {
        SCOPED_TRACE(result);
        setGuid(result, nullptr);
        expectReply(kState, "", stateLog({query("sso_get_login_info"), query("sso_get_guid")}));
        setGuid(result, "handed out all the same");
        expectReply(kState, "",
                    stateLog({query("sso_get_login_info"), query("sso_get_guid"),
                              released("sso_get_guid")}));
    }
}

TEST_F(TheAccountState, IsEmptyWithoutAToken) {
    setInfo(0, infoOf("first", "uid"));
    setGuid(0, "guid");
    for (const int result : kFailures) {
        SCOPED_TRACE(result);
        setToken(result, nullptr);
        expectReply(kState, "",
                    stateLog({query("sso_get_login_info"), query("sso_get_guid"),
                              query("sso_get_auth_token"), released("sso_get_guid")}));
        setToken(result, "handed out all the same");
        expectReply(kState, "",
                    stateLog({query("sso_get_login_info"), query("sso_get_guid"),
                              query("sso_get_auth_token"), released("sso_get_auth_token"),
                              released("sso_get_guid")}));
    }
}

TEST_F(TheAccountState, IsAskedForAfreshEachTime) {
    setInfo(0, infoOf("a", "c"));
    setGuid(0, "d");
    setToken(0, "b");
    EXPECT_EQ(replyTo(m_instance, requestOf(kState)), goodReply("a?b?c?d"));
    setToken(-2, nullptr);
    EXPECT_EQ(replyTo(m_instance, requestOf(kState)), goodReply(""));
    setToken(0, "B");
    setInfo(0, infoOf("A", "C"));
    EXPECT_EQ(replyTo(m_instance, requestOf(kState)), goodReply("A?B?C?d"));
    setGuid(0, "D");
    EXPECT_EQ(replyTo(m_instance, requestOf(kState)), goodReply("A?B?C?D"));
}

TEST_F(TheGuid, IsTheLibrarysText) {
    for (const std::string& guid : {std::string("guid"), std::string(), std::string("%s?%n"),
                                    std::string("\xe6\x97\xa5 \xf0\x9f\x98\x80"), kMebibyte}) {
        SCOPED_TRACE(guid.substr(0, 60));
        setGuid(0, guid.c_str());
        expectReply(kGuid, guid, guidLog({query("sso_get_guid"), released("sso_get_guid")}));
    }
}

TEST_F(TheGuid, IsEmptyOnFailure) {
    for (const int result : kFailures) {
        SCOPED_TRACE(result);
        setGuid(result, nullptr);
        expectReply(kGuid, "", guidLog({query("sso_get_guid")}));
        setGuid(result, "handed out all the same");
        expectReply(kGuid, "", guidLog({query("sso_get_guid"), released("sso_get_guid")}));
    }
}

TEST_F(TheGuid, IsAskedForAfreshEachTime) {
    for (const char* guid : {"one", "two", "one"}) {
        setGuid(0, guid);
        EXPECT_EQ(replyTo(m_instance, requestOf(kGuid)), goodReply(guid));
        setGuid(-2, nullptr);
        EXPECT_EQ(replyTo(m_instance, requestOf(kGuid)), goodReply(""));
    }
}

TEST_F(TheLoginUid, IsTheRecordsSecondText) {
    for (const std::string& uid : {std::string("uid"), std::string(), std::string("%s?%n"),
                                   std::string("\xe6\x97\xa5 \xf0\x9f\x98\x80"), kLongestToo}) {
        SCOPED_TRACE(uid);
        for (const std::string& loginId : {std::string("first"), std::string(), kLongest}) {
            setInfo(0, infoOf(loginId, uid));
            expectReply(kUid, uid, uidLog({query("sso_get_login_info")}));
        }
    }
}

TEST_F(TheLoginUid, IsEmptyOnFailure) {
    const auto info = infoOf("first", "uid");
    for (const int result : kFailures) {
        SCOPED_TRACE(result);
        for (const sso_login_info* filled : {&info, static_cast<const sso_login_info*>(nullptr)}) {
            ASSERT_EQ(setAnswer("sso_get_login_info", {result, nullptr, filled, nullptr}), SSO_OK);
            expectReply(kUid, "", uidLog({query("sso_get_login_info")}));
        }
    }
}

TEST_F(TheLoginUid, IsAskedForAfreshEachTime) {
    for (const char* uid : {"one", "two", "one"}) {
        setInfo(0, infoOf("first", uid));
        EXPECT_EQ(replyTo(m_instance, requestOf(kUid)), goodReply(uid));
        setInfo(-2, infoOf("first", "uid"));
        EXPECT_EQ(replyTo(m_instance, requestOf(kUid)), goodReply(""));
    }
}

// What the record holds besides its two texts is the library's business.
TEST_F(TheLoginUid, DependsOnNoOtherByteOfTheRecordAndNeitherDoesTheState) {
    setGuid(0, "guid");
    setToken(0, "token");
    for (const char garbage : {'\0', 'A', '?', '\xff', '\x01'}) {
        SCOPED_TRACE(static_cast<int>(garbage));
        setInfo(0, infoOf("first", "uid", garbage));
        EXPECT_EQ(replyTo(m_instance, requestOf(kUid)), goodReply("uid"));
        EXPECT_EQ(replyTo(m_instance, requestOf(kState)), goodReply("first?token?uid?guid"));
        setInfo(0, infoOf("", "", garbage));
        EXPECT_EQ(replyTo(m_instance, requestOf(kUid)), goodReply(""));
        EXPECT_EQ(replyTo(m_instance, requestOf(kState)), goodReply("?token??guid"));
    }
}

// The browser makes no text of such bytes but null, and null is left out of a reply.
TEST_F(TheGuid, IsLeftOutWhenItIsIllFormedAndSoAreTheOthers) {
    const Value withoutValue =
        Value::Dictionary{{"code", 0}, {"errorName", ""}, {"errorMessage", ""}};
    setInfo(0, infoOf("first", "ill-formed \xff"));
    setGuid(0, "ill-formed \xff");
    setToken(0, "token");
    for (const char* command : {kGuid, kUid, kState}) {
        EXPECT_EQ(replyTo(m_instance, requestOf(command)), withoutValue) << command;
    }
}

}  // namespace
}  // namespace protocol
