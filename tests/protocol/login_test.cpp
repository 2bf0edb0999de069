// The login page: what the client library gets, and what the page gets back.

#include <gmock/gmock.h>

#include <pthread.h>

#include <climits>
#include <thread>

#include "protocol_test.h"

namespace protocol {
namespace {

using ALoginRequest = ProtocolTest;
using AnOpenLoginPage = ProtocolTest;
using ALoginPageThatCannotBeShown = ProtocolTest;
using TheLoginCallback = ProtocolTest;

EventMatcher commandLine() {
    return logged(Kind::Detail, postedPlace(140), "sso_plugin_show_login_page");
}

Value loginRequest(const Value& data) {
    return Value::Dictionary{{"command", "sso_plugin_show_login_page"}, {"data", data}};
}

const Value kParameterInvalid =
    errorAnswer("sso_plugin_show_login_page", -1, "paramInvaild", "Parameter is invalid");

TEST_F(ALoginRequest, ReachesTheClientLibrary) {
    const PP_Instance instance = embedWith(support::kPartner);
    m_recorder.clear();
    EXPECT_THAT(answersTo(instance, loginRequest("page text")), IsEmpty());
    const auto calls = m_recorder.libraryCalls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].function, "sso_show");
    EXPECT_EQ(calls[0].window, nullptr);
    EXPECT_EQ(calls[0].flags, 0);
    EXPECT_THAT(calls[0].texts, ElementsAre("page text"));
    EXPECT_NE(calls[0].callback, nullptr);
    EXPECT_NE(calls[0].userData, nullptr);
    EXPECT_NE(calls[0].threadId, mainThread());
    EXPECT_EQ(sso_api_control_outstanding(), 1);
}

TEST_F(ALoginRequest, NamesItsInstanceToTheLibrary) {
    const PP_Instance one = embedWith(support::kPartner);
    const PP_Instance other = embed();
    m_recorder.clear();
    startLogin(one);
    startLogin(one);
    startLogin(other);
    const auto calls = m_recorder.libraryCalls();
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_EQ(calls[0].userData, calls[1].userData);
    EXPECT_NE(calls[0].userData, calls[2].userData);
    EXPECT_EQ(calls[0].callback, calls[1].callback);
    EXPECT_EQ(calls[0].callback, calls[2].callback);
}

TEST_F(ALoginRequest, HandsItsTextOnAsItIs) {
    const PP_Instance instance = embedWith(support::kPartner);
    const std::vector<std::pair<std::string, std::string>> texts = {
        {"", ""},
        {" ", " "},
        {"plain", "plain"},
        {"%s%n", "%s%n"},
        {"\xe3\x83\xad\xe3\x82\xb0 \xc3\xbc \xf0\x9f\x98\x80",
         "\xe3\x83\xad\xe3\x82\xb0 \xc3\xbc \xf0\x9f\x98\x80"},
        {std::string(1 << 20, 'y'), std::string(1 << 20, 'y')},
        // The library takes a C text.
        {std::string("up to here\0and no further", 25), "up to here"},
        {std::string("\0x", 2), ""},
    };
    for (const auto& [data, seen] : texts) {
        SCOPED_TRACE(support::visible(data.substr(0, 60)));
        m_recorder.clear();
        EXPECT_THAT(answersTo(instance, loginRequest(data)), IsEmpty());
        const auto calls = m_recorder.libraryCalls();
        ASSERT_EQ(calls.size(), 1U);
        EXPECT_EQ(calls[0].texts, std::vector<std::string>{seen});
        ASSERT_EQ(sso_api_control_finish(0, 0, 4, nullptr), SSO_OK);
        EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(4)));
    }
}

TEST_F(ALoginRequest, NeedsATextUnderData) {
    const PP_Instance instance = embedWith(support::kPartner);
    std::vector<Value> requests = {
        requestOf(kLogin), json(R"({"command": "sso_plugin_show_login_page", "Data": "x"})"),
        json(R"({"command": "sso_plugin_show_login_page", "id": "x"})")};
    const std::vector<Value> noTexts = {Value(),
                                        Value::Null{},
                                        true,
                                        false,
                                        0,
                                        7,
                                        1.5,
                                        Value::Array{},
                                        Value::Array{"x"},
                                        Value::Dictionary{},
                                        Value::Dictionary{{"data", "x"}},
                                        Value::Buffer{},
                                        Value::Buffer{120},
                                        "ill-formed \xff text"};  // reaches the plug-in as null
    for (const Value& data : noTexts) requests.push_back(loginRequest(data));
    for (const Value& request : requests) {
        SCOPED_TRACE(::testing::PrintToString(request));
        m_recorder.clear();
        EXPECT_EQ(answerTo(instance, request), kParameterInvalid);
        EXPECT_THAT(m_recorder.events(),
                    ElementsAreArray(
                        sequence({{postedStart(), gate(kLogin), commandLine()},
                                  response(kLogin, -1, "paramInvaild", "Parameter is invalid")})));
    }
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(ALoginRequest, IgnoresWhatElseIsInIt) {
    const PP_Instance instance = embedWith(support::kPartner);
    m_recorder.clear();
    const Value request = json(R"({"command": "sso_plugin_show_login_page", "data": "x",
        "status": 7, "state": "s", "id": 1, "errorName": "e", "request": {"data": 1}, "": []})");
    EXPECT_THAT(answersTo(instance, request), IsEmpty());
    ASSERT_EQ(m_recorder.libraryCalls().size(), 1U);
    EXPECT_THAT(m_recorder.libraryCalls()[0].texts, ElementsAre("x"));
    sso_api_control_finish(0, 0, 2, nullptr);
    EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(2)));
}

TEST_F(ALoginRequest, LogsFromPostToAnswer) {
    const PP_Instance instance = embedWith(support::kPartner);
    m_recorder.clear();
    startLogin(instance);
    EXPECT_THAT(m_recorder.events(),
                ElementsAre(postedStart(), gate(kLogin), commandLine(),
                            called(Supplier::Library, "sso_show"), postedEnd()));
    m_recorder.clear();
    ASSERT_EQ(sso_api_control_finish(0, 0, 2, nullptr), SSO_OK);
    EXPECT_THAT(m_recorder.events(), ElementsAreArray(response(kLogin, 0, "", "")));
}

TEST_F(ALoginPageThatCannotBeShown, IsAnsweredAtOnce) {
    sso_api_control_set_start_result(-1);
    const PP_Instance instance = embedWith(support::kPartner);
    m_recorder.clear();
    EXPECT_EQ(answerTo(instance, loginRequest("x")),
              errorAnswer(kLogin, -1, "error", "show login failed"));
    EXPECT_THAT(m_recorder.events(),
                ElementsAreArray(sequence({{postedStart(), gate(kLogin), commandLine(),
                                            called(Supplier::Library, "sso_show")},
                                           response(kLogin, -1, "error", "show login failed")})));
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(ALoginPageThatCannotBeShown, IsThatForOneResultOnly) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const int result : {0, -2, 7, 1, INT_MIN, INT_MAX}) {
        SCOPED_TRACE(result);
        sso_api_control_set_start_result(result);
        EXPECT_THAT(answersTo(instance, loginRequest("x")), IsEmpty());
        ASSERT_EQ(sso_api_control_outstanding(), 1);
        ASSERT_EQ(sso_api_control_finish(0, 0, 3, nullptr), SSO_OK);
        EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(3)));
    }
}

TEST_F(ALoginPageThatCannotBeShown, CanBeShownTheNextTime) {
    const PP_Instance instance = embedWith(support::kPartner);
    sso_api_control_set_start_result(-1);
    EXPECT_EQ(answersTo(instance, loginRequest("x")).size(), 1U);
    sso_api_control_set_start_result(0);
    EXPECT_THAT(answersTo(instance, loginRequest("x")), IsEmpty());
    EXPECT_EQ(sso_api_control_outstanding(), 1);
}

TEST_F(AnOpenLoginPage, PassesAnyStateOn) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const int state : {0, 1, 2, 3, 4, 77, -1, -2, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(state);
        startLogin(instance);
        ASSERT_EQ(sso_api_control_finish(0, 0, state, nullptr), SSO_OK);
        EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(state)));
    }
}

TEST_F(AnOpenLoginPage, DoesNotLookAtTheResult) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const int result : {0, -1, 1, -3, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(result);
        startLogin(instance);
        m_recorder.clear();
        int returned = -7;
        ASSERT_EQ(sso_api_control_finish(0, result, 2, &returned), SSO_OK);
        EXPECT_EQ(returned, 0);
        EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(2)));
        EXPECT_THAT(m_recorder.events(), ElementsAreArray(response(kLogin, 0, "", "")));
    }
}

TEST_F(AnOpenLoginPage, IsAnsweredOnceAndNeverAgain) {
    const PP_Instance instance = embedWith(support::kPartner);
    startLogin(instance);
    ASSERT_EQ(sso_api_control_finish(0, 0, 1, nullptr), SSO_OK);
    EXPECT_EQ(sso_api_control_finish(0, 0, 1, nullptr), SSO_ERROR_INVALID);
    EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(1)));
    host().destroy(instance);
    EXPECT_THAT(takeAnswers(), IsEmpty());
}

TEST_F(AnOpenLoginPage, DoesNotWaitForAnEarlierOne) {
    const PP_Instance instance = embedWith(support::kPartner);
    startLogin(instance, "first");
    startLogin(instance, "second");
    ASSERT_EQ(sso_api_control_outstanding(), 2);
    ASSERT_EQ(sso_api_control_finish(1, 0, 5, nullptr), SSO_OK);
    EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(5)));
    ASSERT_EQ(sso_api_control_finish(0, 0, 6, nullptr), SSO_OK);
    EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(6)));
}

TEST_F(AnOpenLoginPage, KeepsNothingElseWaiting) {
    const PP_Instance instance = embedWith(support::kPartner);
    startLogin(instance);
    EXPECT_EQ(replyTo(instance, requestOf(kVersion)), versionReply());
    EXPECT_EQ(answersTo(instance, Value(7)).size(), 1U);
    sso_api_control_finish(0, 0, 1, nullptr);
    EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(1)));
}

TEST_F(AnOpenLoginPage, AnswersThePageThatOpenedIt) {
    const PP_Instance one = embedWith(support::kPartner);
    const PP_Instance other = embed();
    startLogin(one);
    startLogin(other);
    sso_api_control_finish(1, 0, 8, nullptr);
    sso_api_control_finish(0, 0, 9, nullptr);
    const auto messages = host().takeMessages();
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0].instance, other);
    EXPECT_EQ(messages[0].value, loginAnswer(8));
    EXPECT_EQ(messages[1].instance, one);
    EXPECT_EQ(messages[1].value, loginAnswer(9));
}

TEST_F(AnOpenLoginPage, IsAnsweredOnTheThreadThatEndsIt) {
    const PP_Instance instance = embedWith(support::kPartner);
    startLogin(instance);
    m_recorder.clear();
    pid_t user = 0;
    std::thread([&] {
        pthread_setname_np(pthread_self(), "popup-user");
        user = support::thisThreadId();
        EXPECT_EQ(sso_api_control_finish(0, 0, 3, nullptr), SSO_OK);
    }).join();
    const auto messages = host().takeMessages();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].value, loginAnswer(3));
    EXPECT_EQ(messages[0].threadName, "popup-user");
    EXPECT_EQ(messages[0].threadId, user);
    for (const Event& event : m_recorder.events()) EXPECT_EQ(event.threadId, user) << event.what;
}

TEST_F(AnOpenLoginPage, IsAnsweredOnTheLibrarysOwnThreadWhenItEndsByItself) {
    sso_api_control_set_popup_end(0, 1);
    const PP_Instance instance = embedWith(support::kPartner);
    host().post(instance, loginRequest("x"));
    ASSERT_TRUE(host().waitForMessages(1, std::chrono::seconds(30)));
    const auto messages = host().takeMessages();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].value, loginAnswer(1));
    EXPECT_EQ(messages[0].threadName, "sso-api");
}

TEST_F(AnOpenLoginPage, CanEndOnManyThreadsAtOnce) {
    constexpr int kPages = 64;
    const PP_Instance instance = embedWith(support::kPartner);
    for (int i = 0; i < kPages; ++i) startLogin(instance);
    std::vector<std::thread> users;
    for (int i = 0; i < 4; ++i) {
        users.emplace_back([] {
            for (int page = 0; page < kPages / 4; ++page) {
                EXPECT_EQ(sso_api_control_finish(0, 0, 2, nullptr), SSO_OK);
            }
        });
    }
    for (std::thread& user : users) user.join();
    EXPECT_THAT(takeAnswers(), ElementsAreArray(std::vector<Value>(kPages, loginAnswer(2))));
}

TEST_F(TheLoginCallback, RefusesNullUserData) {
    const PP_Instance instance = embedWith(support::kPartner);
    startLogin(instance);
    const auto callback = m_recorder.libraryCalls().at(0).popupCallback();
    for (const int result : {0, -1, 5}) {
        SCOPED_TRACE(result);
        m_recorder.clear();
        EXPECT_EQ(callback(nullptr, result, SSO_POPUP_COMPLETED), -1);
        EXPECT_THAT(m_recorder.events(),
                    ElementsAre(logged(Kind::Error, handlerPlace("m_ShowSSOLoginCallBack", 414),
                                       "PluginSSO is NULL")));
    }
    EXPECT_TRUE(host().drain(instance));
    EXPECT_THAT(takeAnswers(), IsEmpty());
}

TEST_F(TheLoginCallback, MayBeCalledByTheLibraryBeforeTheStartReturns) {
    const PP_Instance instance = embedWith(support::kPartner);
    m_recorder.setHook([this](const Event& event) {
        if (event.what != "sso_show") return;
        const auto call = m_recorder.libraryCalls().back();
        EXPECT_EQ(call.popupCallback()(call.userData, 0, SSO_POPUP_CLOSED), 0);
    });
    sso_api_control_set_start_result(-1);  // so that the library does not call a second time
    EXPECT_THAT(answersTo(instance, loginRequest("x")),
                ElementsAre(loginAnswer(1), errorAnswer(kLogin, -1, "error", "show login failed")));
    m_recorder.setHook(nullptr);
}

}  // namespace
}  // namespace protocol
