// Many messages.

#include <gmock/gmock.h>

#include "asynchronous_commands.h"
#include "thread_tools.h"

namespace protocol {
namespace {

using AFlood = AsynchronousTest;

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
    support::onThreads(4, [&](int thread) {
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

TEST_F(AFlood, OfOperationsIsAnsweredOnceEach) {
    constexpr int kOperations = 1400;
    const auto commandOf = [](int number) -> const AsynchronousCommand& {
        return kAsynchronousCommands[static_cast<std::size_t>(number) %
                                     kAsynchronousCommands.size()];
    };
    const PP_Instance instance = embedWith(support::kPartner);
    for (int i = 0; i < kOperations; ++i) host().post(instance, requestFor(commandOf(i)));
    ASSERT_TRUE(host().drain(instance, std::chrono::seconds(100)));
    EXPECT_THAT(takeAnswers(), IsEmpty());
    ASSERT_EQ(sso_api_control_outstanding(), kOperations);
    for (int i = 0; i < kOperations; ++i) {
        const std::string text = std::to_string(i);
        ASSERT_EQ(finish(0, {i, i, text.c_str()}), SSO_OK);
        ASSERT_THAT(takeAnswers(), ElementsAre(endAnswer(commandOf(i), {i, i, text.c_str()})));
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
