// Several operations at a time, and other requests meanwhile.

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <random>

#include "asynchronous_commands.h"
#include "thread_signal.h"
#include "thread_tools.h"

namespace protocol {
namespace {

using OutstandingOperations = AsynchronousTest;
using AHeldUpWorker = AsynchronousTest;

/// Everything that an operation may be told, made of one number.
class End {
  public:
    explicit End(int number) : m_number(number), m_text(std::to_string(number)) {}
    SsoApiEnd get() const { return {m_number, m_number, m_text.c_str()}; }

  private:
    int m_number;
    std::string m_text;
};

/// What an answer tells, as a number again.
int numberIn(const Value& answer) {
    for (const char* key : {"state", "result"}) {
        if (answer.has(key)) return answer[key].asInt32();
    }
    return std::stoi(answer[answer.has("token") ? "token" : "PartnerAccountInfo"].asString());
}

/// An operation that is outstanding.
struct Outstanding {
    PP_Instance instance;
    const AsynchronousCommand* command;
};

TEST_F(OutstandingOperations, AreAnsweredInTheOrderInWhichTheyEnd) {
    const PP_Instance instance = embedWith(support::kPartner);
    std::mt19937 random(31);  // the same orders each time
    std::vector<const AsynchronousCommand*> order;
    for (const AsynchronousCommand& command : kAsynchronousCommands) order.push_back(&command);
    for (int round = 0; round < 20; ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (const AsynchronousCommand* command : order) start(instance, *command);
        std::vector<const AsynchronousCommand*> open = order;
        std::vector<Value> expected;
        m_recorder.clear();
        EventMatchers lines;
        while (!open.empty()) {
            const auto index = random() % open.size();
            const End end(static_cast<int>(random() % 1000));
            expected.push_back(endAnswer(*open[index], end.get()));
            const EventMatchers one = answered(*open[index]);
            lines.insert(lines.end(), one.begin(), one.end());
            ASSERT_EQ(finish(static_cast<int>(index), end.get()), SSO_OK);
            open.erase(open.begin() + static_cast<std::ptrdiff_t>(index));
        }
        EXPECT_THAT(takeAnswers(), ElementsAreArray(expected));
        EXPECT_THAT(m_recorder.events(), ElementsAreArray(lines));
    }
}

// Nothing but their order tells one answer from the other.
TEST_F(OutstandingOperations, OfOneCommandAreAnsweredInTheOrderInWhichTheyEnd) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        start(instance, command);
        start(instance, command);
        ASSERT_EQ(sso_api_control_outstanding(), 2);
        ASSERT_EQ(finish(1, {5, 5, "5"}), SSO_OK);
        EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(command, {5, 5, "5"})));
        ASSERT_EQ(finish(0, {6, 6, "6"}), SSO_OK);
        EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(command, {6, 6, "6"})));
    }
}

TEST_F(OutstandingOperations, AnswerThePageThatStartedThem) {
    const PP_Instance one = embedWith(support::kPartner);
    const PP_Instance other = embed();
    std::mt19937 random(32);
    for (int round = 0; round < 10; ++round) {
        std::vector<Outstanding> open;
        for (const AsynchronousCommand& command : kAsynchronousCommands) {
            open.push_back({one, &command});
            open.push_back({other, &command});
        }
        std::shuffle(open.begin(), open.end(), random);
        for (const Outstanding& operation : open) start(operation.instance, *operation.command);
        while (!open.empty()) {
            const auto index = random() % open.size();
            const Outstanding ending = open[index];
            const End end(static_cast<int>(random() % 1000));
            ASSERT_EQ(finish(static_cast<int>(index), end.get()), SSO_OK);
            const auto messages = host().takeMessages();
            ASSERT_EQ(messages.size(), 1U);
            EXPECT_EQ(messages[0].instance, ending.instance);
            EXPECT_EQ(messages[0].value, endAnswer(*ending.command, end.get()));
            open.erase(open.begin() + static_cast<std::ptrdiff_t>(index));
        }
    }
}

TEST_F(OutstandingOperations, MayEndOnManyThreadsAtOnce) {
    constexpr int kThreads = 4;
    constexpr int kEach = 16;  // of each kind
    const int total = kEach * static_cast<int>(kAsynchronousCommands.size());
    const PP_Instance instance = embedWith(support::kPartner);
    for (int i = 0; i < kEach; ++i) startAll(instance);
    support::onThreads(kThreads, [total](int user) {
        for (int number = user; number < total; number += kThreads) {
            EXPECT_EQ(finish(0, End(number).get()), SSO_OK);
        }
    });

    std::vector<int> numbers;
    std::map<std::string, int> counts;
    for (const Value& answer : takeAnswers()) {
        const auto command = std::find_if(
            kAsynchronousCommands.begin(), kAsynchronousCommands.end(),
            [&](const AsynchronousCommand& one) { return answer["command"] == Value(one.name); });
        ASSERT_NE(command, kAsynchronousCommands.end());
        ++counts[command->name];
        numbers.push_back(numberIn(answer));
        EXPECT_EQ(answer, endAnswer(*command, End(numbers.back()).get()));
    }
    std::sort(numbers.begin(), numbers.end());
    std::vector<int> expected(static_cast<std::size_t>(total));
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(numbers, expected);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        EXPECT_EQ(counts[command.name], kEach) << command.name;
    }
}

TEST_F(OutstandingOperations, KeepNothingElseWaiting) {
    const PP_Instance instance = embedWith(support::kAll);
    startAll(instance);
    startAll(instance);
    for (const char* command :
         {"sso_plugin_getSSOState", "sso_plugin_getGuid", "sso_plugin_getLoginUid"}) {
        EXPECT_EQ(replyTo(instance, requestOf(command)), goodReply("")) << command;
    }
    EXPECT_EQ(replyTo(instance, requestOf("sso_plugin_getLoginStatus")), goodReply(0));
    EXPECT_EQ(replyTo(instance, requestOf("sso_plugin_getTermsAgreementState")),
              errorReply(-4, "paramInvaild", "Parameter is invalid"));
    EXPECT_EQ(replyTo(instance, requestOf(kVersion)), versionReply());
    EXPECT_THAT(answersTo(instance, Value(7)),
                ElementsAre(errorAnswer("", -1, "paramInvaild", "Incoming message is invalid")));
    EXPECT_THAT(answersTo(instance, requestOf(kLogin)),
                ElementsAre(errorAnswer(kLogin, -1, "paramInvaild", "Parameter is invalid")));
    const std::size_t kinds = kAsynchronousCommands.size();
    EXPECT_EQ(sso_api_control_outstanding(), static_cast<int>(2 * kinds));
    EXPECT_THAT(takeAnswers(), IsEmpty());

    std::vector<Value> expected;
    for (std::size_t number = 0; number < 2 * kinds; ++number) {
        const End end(static_cast<int>(number));
        expected.push_back(endAnswer(kAsynchronousCommands[number % kinds], end.get()));
        ASSERT_EQ(finish(0, end.get()), SSO_OK);
    }
    EXPECT_THAT(takeAnswers(), ElementsAreArray(expected));
}

// A worker that waits inside the client library, while operations end elsewhere.
TEST_F(AHeldUpWorker, KeepsNoAnswerWaiting) {
    const PP_Instance instance = embedWith(support::kPartner);
    startAll(instance);
    takeAnswers();
    support::Signal answers;
    m_recorder.setHook([&](const Event& event) {
        if (event.what == "sso_get_cp_account_mapping_list") {
            EXPECT_TRUE(answers.wait());
        }
    });
    m_recorder.clear();
    const AsynchronousCommand& list = kAsynchronousCommands[4];
    host().post(instance, requestFor(list));
    ASSERT_TRUE(m_recorder.waitFor(1, [&](const Event& event) {
        return event.supplier == Supplier::Library && event.what == list.function;
    }));
    std::vector<Value> expected;
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        expected.push_back(endAnswer(command, {4, 4, "4"}));
        ASSERT_EQ(finish(0, {4, 4, "4"}), SSO_OK);
    }
    EXPECT_THAT(takeAnswers(), ElementsAreArray(expected));
    answers.give();
    EXPECT_TRUE(host().drain(instance));
    m_recorder.setHook(nullptr);
    EXPECT_EQ(sso_api_control_outstanding(), 1);
    ASSERT_EQ(finish(0, {5, 5, "5"}), SSO_OK);
    EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(list, {5, 5, "5"})));
}

}  // namespace
}  // namespace protocol
