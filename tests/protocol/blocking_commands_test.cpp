// The questions that are answered at once: the two states, and what all questions have in common.
// The version has tests of its own, and so have the questions about the account.

#include <gmock/gmock.h>

#include <climits>
#include <thread>

#include "blocking_commands.h"
#include "protocol_data.h"
#include "protocol_test.h"
#include "request_texts.h"
#include "thread_signal.h"

namespace protocol {
namespace {

using AStateQuery = ProtocolTest;
using ATermsQuery = ProtocolTest;
using ABlockingCommand = ProtocolTest;

struct StateQuery {
    const char* command;
    const char* function;  ///< of the client library
    Value request;
    std::vector<std::string> texts;  ///< that the library gets
};

const std::vector<StateQuery> kStateQueries = {
    {"sso_plugin_getLoginStatus",
     "sso_get_login_state",
     requestOf("sso_plugin_getLoginStatus"),
     {}},
    {"sso_plugin_getTermsAgreementState",
     "sso_get_term_state",
     json(R"({"command": "sso_plugin_getTermsAgreementState", "termsId": "the terms"})"),
     {"the terms"}},
};

/// Of all blocking commands.
std::vector<std::string> names() {
    std::vector<std::string> names;
    for (const auto& command : contract::protocol().commandsOf(contract::Path::Blocking)) {
        names.push_back(command.name);
    }
    return names;
}

Value termsRequest(const Value& termsId) {
    return Value::Dictionary{{"command", "sso_plugin_getTermsAgreementState"},
                             {"termsId", termsId}};
}

TEST_F(AStateQuery, PassesTheLibrarysStateOn) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const StateQuery& query : kStateQueries) {
        for (const int state : {0, 1, 2, 77, -1, -4, 26, INT_MAX, INT_MIN}) {
            SCOPED_TRACE(query.command + (" " + std::to_string(state)));
            ASSERT_EQ(setAnswer(query.function, {0, &state, nullptr, nullptr}), SSO_OK);
            EXPECT_EQ(replyTo(instance, query.request), goodReply(state));
        }
    }
}

TEST_F(AStateQuery, DoesNotLookAtTheResult) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const StateQuery& query : kStateQueries) {
        for (const int result : {0, 1, -1, -2, -7, 7, INT_MAX, INT_MIN}) {
            SCOPED_TRACE(query.command + (" " + std::to_string(result)));
            const int state = 5;
            ASSERT_EQ(setAnswer(query.function, {result, &state, nullptr, nullptr}), SSO_OK);
            EXPECT_EQ(replyTo(instance, query.request), goodReply(5)) << "written";
            // After another value, so that 0 does not come about by chance.
            ASSERT_EQ(setAnswer(query.function, {result, nullptr, nullptr, nullptr}), SSO_OK);
            EXPECT_EQ(replyTo(instance, query.request), goodReply(0)) << "left alone";
        }
    }
}

TEST_F(AStateQuery, AsksTheLibraryOnceEachTime) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const StateQuery& query : kStateQueries) {
        SCOPED_TRACE(query.command);
        for (const int result : {0, -2}) {
            const int state = 3;
            ASSERT_EQ(setAnswer(query.function, {result, &state, nullptr, nullptr}), SSO_OK);
            m_recorder.clear();
            EXPECT_EQ(replyTo(instance, query.request), goodReply(3));
            EXPECT_THAT(m_recorder.events(),
                        ElementsAreArray(sequence({askedFor(query.command),
                                                   {called(Supplier::Library, query.function)}})));
            EXPECT_EQ(m_recorder.libraryCalls().at(0).texts, query.texts);
        }
    }
}

TEST_F(ATermsQuery, HandsItsTextOnAsItIs) {
    const PP_Instance instance = embedWith(support::kPartner);
    const int state = 6;
    ASSERT_EQ(setAnswer("sso_get_term_state", {0, &state, nullptr, nullptr}), SSO_OK);
    for (const RequestText& text : requestTexts()) {
        SCOPED_TRACE(support::visible(text.sent.substr(0, 60)));
        m_recorder.clear();
        EXPECT_EQ(replyTo(instance, termsRequest(text.sent)), goodReply(6));
        ASSERT_EQ(m_recorder.libraryCalls().size(), 1U);
        EXPECT_THAT(m_recorder.libraryCalls()[0].texts, ElementsAre(text.received));
    }
}

TEST_F(ATermsQuery, NeedsATextUnderTermsId) {
    const PP_Instance instance = embedWith(support::kPartner);
    const int state = 6;
    ASSERT_EQ(setAnswer("sso_get_term_state", {0, &state, nullptr, nullptr}), SSO_OK);
    std::vector<Value> requests = {
        requestOf("sso_plugin_getTermsAgreementState"),
        json(R"({"command": "sso_plugin_getTermsAgreementState", "termsID": "x"})"),
        json(R"({"command": "sso_plugin_getTermsAgreementState", "termsid": "x"})"),
        json(R"({"command": "sso_plugin_getTermsAgreementState", "termsId ": "x"})"),
        json(R"({"command": "sso_plugin_getTermsAgreementState", "callerId": "x", "data": "y"})")};
    for (const Value& termsId : noTexts()) requests.push_back(termsRequest(termsId));
    for (const Value& request : requests) {
        SCOPED_TRACE(::testing::PrintToString(request));
        m_recorder.clear();
        EXPECT_EQ(replyTo(instance, request),
                  errorReply(-4, "paramInvaild", "Parameter is invalid"));
        EXPECT_THAT(m_recorder.events(),
                    ElementsAreArray(askedFor("sso_plugin_getTermsAgreementState")));
    }
}

TEST_F(ABlockingCommand, IgnoresWhatElseIsInItsRequest) {
    const PP_Instance instance = embedWith(support::kAll);
    for (const std::string& command : names()) {
        SCOPED_TRACE(command);
        const Value::Dictionary bare{{"command", command}, {"termsId", "x"}};
        const Value expected = replyTo(instance, bare);
        EXPECT_EQ(expected["code"], Value(0));
        for (const Value& other : {Value("other text"), Value(7), Value(Value::Array{"x"})}) {
            Value::Dictionary request = bare;
            for (const char* key : {"", "data", "id", "secret", "callerId", "appID", "cpName",
                                    "cpUID", "code", "value", "errorName", "errorMessage"}) {
                request[key] = other;
            }
            m_recorder.clear();
            EXPECT_EQ(replyTo(instance, request), expected);
            for (const auto& call : m_recorder.libraryCalls()) {
                for (const std::string& text : call.texts) EXPECT_EQ(text, "x");
            }
        }
    }
}

TEST_F(ABlockingCommand, PostsNothingAndStartsNothing) {
    const PP_Instance instance = embedWith(support::kAll);
    const pid_t main = mainThread();
    m_recorder.clear();
    for (const std::string& command : names()) {
        replyTo(instance, Value::Dictionary{{"command", command}, {"termsId", "x"}});
    }
    EXPECT_TRUE(host().drain(instance));
    EXPECT_THAT(takeAnswers(), IsEmpty());
    EXPECT_EQ(sso_api_control_outstanding(), 0);
    const std::vector<Event> events = m_recorder.events();
    ASSERT_FALSE(events.empty());
    for (const Event& event : events) {
        EXPECT_EQ(event.threadId, events[0].threadId) << event.what;
        EXPECT_NE(event.threadId, main);
    }
}

// The library takes its time: what came before is answered, what comes after waits behind.
TEST_F(ABlockingCommand, DelaysOnlyWhatIsBehindIt) {
    const PP_Instance instance = embedWith(support::kPartner);
    const PP_Instance other = embed();
    startLogin(instance);
    startLogin(other);
    const int state = 4;
    ASSERT_EQ(setAnswer("sso_get_login_state", {0, &state, nullptr, nullptr}), SSO_OK);
    takeAnswers();
    support::Signal slow;
    m_recorder.setHook([&](const Event& event) {
        if (event.what == "sso_get_login_state") {
            EXPECT_TRUE(slow.wait());
        }
    });
    m_recorder.clear();
    CallResult result;
    std::thread page(
        [&] { result = host().call(instance, requestOf("sso_plugin_getLoginStatus")); });
    ASSERT_TRUE(m_recorder.waitFor(
        1, [](const Event& event) { return event.what == "sso_get_login_state"; }));
    host().post(instance, Value(7));
    EXPECT_EQ(replyTo(other, requestOf(kVersion)), versionReply());
    ASSERT_EQ(finish(0, {0, 1, nullptr}), SSO_OK);
    ASSERT_EQ(finish(0, {0, 2, nullptr}), SSO_OK);
    EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(1), loginAnswer(2)));
    slow.give();
    page.join();
    EXPECT_EQ(result.status, CallResult::Status::Replied);
    EXPECT_EQ(result.value, goodReply(4));
    EXPECT_TRUE(host().drain(instance));
    m_recorder.setHook(nullptr);
    EXPECT_THAT(takeAnswers(),
                ElementsAre(errorAnswer("", -1, "paramInvaild", "Incoming message is invalid")));
}

}  // namespace
}  // namespace protocol
