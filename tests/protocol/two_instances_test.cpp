// Two workers in the same functions: neither meets anything of the other's.

#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "asynchronous_commands.h"
#include "thread_signal.h"

namespace protocol {
namespace {

/// The first of two instances can be held up inside the client library, while the second one works.
class TwoInstances : public AsynchronousTest {
  protected:
    void SetUp() override {
        m_first = embedWith(support::kAll);
        m_second = embed();
    }

    /// Lets `meanwhile` happen while the first instance, which `send` sends to, is held up where it
    /// calls `function`; then lets it go on.
    void holdUp(const char* function, const std::function<void()>& send,
                const std::function<void()>& meanwhile) {
        struct Door {
            support::Signal reached;
            support::Signal mayGoOn;
        };
        // Shared with the hook: the library's own thread may still be in it at the end.
        const auto door = std::make_shared<Door>();
        m_recorder.setHook([door, function](const Event& event) {
            if (event.what != function || door->reached.given()) return;
            door->reached.give();
            EXPECT_TRUE(door->mayGoOn.wait());
        });
        std::thread page(send);
        EXPECT_TRUE(door->reached.wait());
        meanwhile();
        door->mayGoOn.give();
        page.join();
        m_recorder.setHook(nullptr);
    }

    /// As holdUp(), with a blocking message. @return the reply.
    Value replyOfHeldUp(const Value& request, const char* function,
                        const std::function<void()>& meanwhile) {
        Value reply;
        holdUp(
            function, [&] { reply = replyTo(m_first, request); }, meanwhile);
        return reply;
    }

    PP_Instance m_first = 0;
    PP_Instance m_second = 0;
};

TEST_F(TwoInstances, AreToldEachItsOwnState) {
    const int state = 7;
    const Value login = requestOf("sso_plugin_getLoginStatus");
    const Value terms = json(R"({"command": "sso_plugin_getTermsAgreementState", "termsId": "x"})");
    for (const auto& [request, function] :
         {std::pair(login, "sso_get_login_state"), std::pair(terms, "sso_get_term_state")}) {
        SCOPED_TRACE(function);
        EXPECT_EQ(replyOfHeldUp(request, function,
                                [&, request = request, function = function] {
                                    setAnswer(function, {0, &state, nullptr, nullptr});
                                    EXPECT_EQ(replyTo(m_second, request), goodReply(7));
                                    setAnswer(function, {-2, nullptr, nullptr, nullptr});
                                }),
                  goodReply(0));
    }
}

TEST_F(TwoInstances, AreToldEachItsOwnAccount) {
    const Value request = requestOf("sso_plugin_getSSOState");
    const sso_login_info first = {"a", "c", {}};
    const sso_login_info second = {"A", "C", {}};
    setAnswer("sso_get_login_info", {0, nullptr, &first, nullptr});
    setAnswer("sso_get_guid", {0, nullptr, nullptr, "d"});
    setAnswer("sso_get_auth_token", {0, nullptr, nullptr, "b"});
    EXPECT_EQ(replyOfHeldUp(request, "sso_get_guid",
                            [&] {
                                setAnswer("sso_get_login_info", {0, nullptr, &second, nullptr});
                                EXPECT_EQ(replyTo(m_second, request), goodReply("A?b?C?d"));
                            }),
              goodReply("a?b?c?d"));
}

TEST_F(TwoInstances, ReleaseEachItsOwnTexts) {
    const Value request = requestOf("sso_plugin_getGuid");
    EXPECT_EQ(replyOfHeldUp(request, "sso_get_guid",
                            [&] {
                                setAnswer("sso_get_guid", {0, nullptr, nullptr, "second"});
                                EXPECT_EQ(replyTo(m_second, request), goodReply("second"));
                                setAnswer("sso_get_guid", {-2, nullptr, nullptr, nullptr});
                            }),
              goodReply(""));
    EXPECT_EQ(count("free(sso_get_guid)"), 1U);
}

// The library looks at the texts after the hold-up: they are still those of the first.
TEST_F(TwoInstances, HandOverEachItsOwnTexts) {
    sso_api_control_set_held(0);
    ASSERT_EQ(sso_api_control_set_account(R"({
        "account": {"loginId": "l", "uid": "u", "guid": "g", "authToken": "a"},
        "clients": [{"id": "1", "secret": "one", "token": "first"},
                    {"id": "2", "secret": "two", "token": "second"}]})"),
              SSO_OK);
    const auto token = [](const char* id, const char* secret) {
        return Value::Dictionary{
            {"command", "sso_plugin_getZEVAccessToken"}, {"id", id}, {"secret", secret}};
    };
    takeAnswers();
    holdUp(
        "sso_request_access_token",
        [&] {
            host().post(m_first, token("1", "one"));
            EXPECT_TRUE(host().drain(m_first));
        },
        [&] {
            host().post(m_second, token("2", "two"));
            EXPECT_TRUE(host().drain(m_second));
        });
    ASSERT_TRUE(host().waitForMessages(2, support::kLongEnough));
    std::map<PP_Instance, Value> answers;
    for (const host::Message& message : host().takeMessages()) {
        answers[message.instance] = message.value;
    }
    const AsynchronousCommand& command = kAsynchronousCommands[2];
    EXPECT_EQ(answers[m_first], endAnswer(command, {0, 0, "first"}));
    EXPECT_EQ(answers[m_second], endAnswer(command, {0, 0, "second"}));
}

// Whatever they shared without order, the thread sanitizer would tell.
TEST_F(TwoInstances, WorkAtOnceAndShareNothing) {
    constexpr int kRounds = 50;
    m_recorder.ignoreLog();
    const sso_login_info info = {"first", "uid", {}};
    ASSERT_EQ(setAnswer("sso_get_login_info", {0, nullptr, &info, nullptr}), SSO_OK);
    ASSERT_EQ(setAnswer("sso_get_guid", {0, nullptr, nullptr, "guid"}), SSO_OK);
    ASSERT_EQ(setAnswer("sso_get_auth_token", {0, nullptr, nullptr, "token"}), SSO_OK);
    const int state = 5;
    ASSERT_EQ(setAnswer("sso_get_login_state", {0, &state, nullptr, nullptr}), SSO_OK);
    ASSERT_EQ(setAnswer("sso_get_term_state", {0, &state, nullptr, nullptr}), SSO_OK);
    const PP_Instance instances[] = {m_first, m_second};
    std::map<void*, std::string> texts;  // by the user data of the instance that sends them
    for (const PP_Instance instance : instances) {
        texts[start(instance, kAsynchronousCommands[0]).userData] = std::to_string(instance);
    }
    ASSERT_EQ(texts.size(), 2U);
    m_recorder.clear();

    std::vector<std::thread> pages;
    for (const PP_Instance instance : instances) {
        pages.emplace_back([this, instance] {
            for (int round = 0; round < kRounds; ++round) {
                for (const AsynchronousCommand& command : kAsynchronousCommands) {
                    Value::Dictionary request = requestFor(command);
                    for (const Key& key : command.keys) {
                        request[key.name] = std::to_string(instance);
                    }
                    host().post(instance, request);
                }
                EXPECT_EQ(replyTo(instance, requestOf("sso_plugin_getSSOState")),
                          goodReply("first?token?uid?guid"));
                EXPECT_EQ(replyTo(instance, requestOf("sso_plugin_getLoginUid")), goodReply("uid"));
                EXPECT_EQ(replyTo(instance, requestOf("sso_plugin_getGuid")), goodReply("guid"));
                EXPECT_EQ(replyTo(instance, requestOf("sso_plugin_getLoginStatus")), goodReply(5));
                EXPECT_EQ(
                    replyTo(instance,
                            Value::Dictionary{{"command", "sso_plugin_getTermsAgreementState"},
                                              {"termsId", std::to_string(instance)}}),
                    goodReply(5));
            }
        });
    }
    for (std::thread& page : pages) page.join();

    std::map<std::string, int> starts;
    for (const support::LibraryCall& call : m_recorder.libraryCalls()) {
        if (call.callback == nullptr) continue;
        ++starts[call.function];
        for (const std::string& text : call.texts) {
            EXPECT_TRUE(text == texts.at(call.userData) || text.empty()) << text;
        }
    }
    std::map<std::string, int> expected;
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        expected[command.function] += 2 * kRounds;
    }
    EXPECT_EQ(starts, expected);
}

}  // namespace
}  // namespace protocol
