// Many messages.

#include <gmock/gmock.h>

#include <thread>

#include "protocol_test.h"

namespace protocol {
namespace {

using AFlood = ProtocolTest;

constexpr int kMessages = 5000;

TEST_F(AFlood, OfPostedMessagesIsAnsweredInOrder) {
    const PP_Instance instance = embedWith(support::kAll);
    for (int i = 0; i < kMessages; ++i) host().post(instance, requestOf("n" + std::to_string(i)));
    ASSERT_TRUE(host().drain(instance, std::chrono::seconds(100)));
    const std::vector<Value> answers = takeAnswers();
    ASSERT_EQ(answers.size(), static_cast<std::size_t>(kMessages));
    for (int i = 0; i < kMessages; ++i) {
        ASSERT_EQ(answers[static_cast<std::size_t>(i)], refusal("n" + std::to_string(i)));
    }
}

TEST_F(AFlood, OfBlockingMessagesIsAnswered) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (int i = 0; i < kMessages; ++i) {
        ASSERT_EQ(replyTo(instance, requestOf(kVersion)), versionReply()) << "message " << i;
    }
    EXPECT_THAT(takeAnswers(), IsEmpty());
}

TEST_F(AFlood, OfBlockingMessagesFromManyThreadsIsAnsweredEachWithItsOwn) {
    const PP_Instance instance = embedWith(support::kPartner);
    std::vector<std::thread> askers;
    for (int thread = 0; thread < 4; ++thread) {
        askers.emplace_back([&, thread] {
            for (int i = 0; i < kMessages / 20; ++i) {
                const auto result =
                    host().call(instance, thread % 2 == 0 ? requestOf(kVersion) : Value(i));
                EXPECT_EQ(result.value, thread % 2 == 0
                                            ? versionReply()
                                            : errorReply(26, "InvalidValuesError",
                                                         "Incoming message is not dictionary"));
            }
        });
    }
    for (std::thread& asker : askers) asker.join();
}

TEST_F(AFlood, OfBothKindsKeepsTheOrderInWhichTheyWereSent) {
    const PP_Instance instance = embedWith(support::kPartner);
    int next = 0;
    for (int round = 0; round < 50; ++round) {
        for (int i = 0; i < 20; ++i) host().post(instance, requestOf("n" + std::to_string(next++)));
        ASSERT_EQ(replyTo(instance, requestOf(kVersion)), versionReply());
        // The reply came after the answers to all that was posted before.
        const std::vector<Value> answers = takeAnswers();
        ASSERT_EQ(answers.size(), 20U) << "round " << round;
        for (int i = 0; i < 20; ++i) {
            ASSERT_EQ(answers[static_cast<std::size_t>(i)],
                      refusal("n" + std::to_string(next - 20 + i)));
        }
    }
}

TEST_F(AFlood, OfLoginPagesIsAnsweredOnceEach) {
    constexpr int kPages = 1000;
    const PP_Instance instance = embedWith(support::kPartner);
    const Value request = json(R"({"command": "sso_plugin_show_login_page", "data": "x"})");
    for (int i = 0; i < kPages; ++i) host().post(instance, request);
    ASSERT_TRUE(host().drain(instance, std::chrono::seconds(100)));
    EXPECT_THAT(takeAnswers(), IsEmpty());
    ASSERT_EQ(sso_api_control_outstanding(), kPages);
    for (int i = 0; i < kPages; ++i) ASSERT_EQ(sso_api_control_finish(0, 0, i, nullptr), SSO_OK);
    const std::vector<Value> answers = takeAnswers();
    ASSERT_EQ(answers.size(), static_cast<std::size_t>(kPages));
    for (int i = 0; i < kPages; ++i) {
        ASSERT_EQ(answers[static_cast<std::size_t>(i)], loginAnswer(i));
    }
}

TEST_F(AFlood, OfDeepAndWideMessagesIsAnswered) {
    const PP_Instance instance = embedWith(support::kPartner);
    Value nested = "core";
    for (int i = 0; i < 2000; ++i) nested = Value::Dictionary{{"command", nested}};
    EXPECT_EQ(answerTo(instance, nested),
              errorAnswer("", -1, "commandInvaild", "Parameter command is invalid"));
    Value::Dictionary wide{{"command", kVersion}};
    for (int i = 0; i < 10000; ++i) wide["key" + std::to_string(i)] = i;
    EXPECT_EQ(replyTo(instance, wide), versionReply());
}

}  // namespace
}  // namespace protocol
