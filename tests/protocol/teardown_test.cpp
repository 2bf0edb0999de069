// Instances that go while something of theirs is under way.

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <map>
#include <random>
#include <thread>

#include "asynchronous_commands.h"
#include "thread_signal.h"

namespace protocol {
namespace {

using AnInstanceWithABusyWorker = AsynchronousTest;
using ARunningCallback = AsynchronousTest;

constexpr int kRounds = 200;

const AsynchronousCommand& anyCommand(std::mt19937& random) {
    return kAsynchronousCommands[random() % kAsynchronousCommands.size()];
}

/// What the client library tells those that it cancels.
constexpr SsoApiEnd kCancelled = {SSO_ERROR_CANCELLED, SSO_POPUP_CANCELLED, nullptr};

/// One of each kind, dropped one after the other.
EventMatchers allDropped() {
    EventMatchers all;
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        const EventMatchers one = dropped(command);
        all.insert(all.end(), one.begin(), one.end());
    }
    return all;
}

/// How often an answer was built for the command, whether it went out or not.
std::string answerLine(const std::string& command) {
    return "responseData START, command [" + command + "], status [0]";
}

class AnInstanceWithOperations : public AsynchronousTest {
  protected:
    /// Posts requests without waiting for anything.
    void postAll(PP_Instance instance) {
        for (const AsynchronousCommand& command : kAsynchronousCommands) {
            host().post(instance, requestFor(command));
        }
    }
    std::map<std::string, std::size_t> postAny(PP_Instance instance, std::size_t operations,
                                               std::mt19937& random) {
        std::map<std::string, std::size_t> counts;
        for (std::size_t i = 0; i < operations; ++i) {
            const AsynchronousCommand& command = anyCommand(random);
            host().post(instance, requestFor(command));
            ++counts[command.name];
        }
        return counts;
    }

    /// Nothing is lost in silence, and nothing comes twice. The recorder knows the start of each.
    void expectOneEndForEach(const std::map<std::string, std::size_t>& counts) {
        EXPECT_EQ(sso_api_control_outstanding(), 0);
        std::size_t all = 0;
        for (const auto& [command, operations] : counts) {
            EXPECT_EQ(count(answerLine(command)), operations) << command;
            all += operations;
        }
        EXPECT_EQ(m_recorder.libraryCalls().size(), all + 1) << "and sso_give_proxy";
        const std::size_t sent = count("send message to web app");
        EXPECT_EQ(count("m_poInstance is null didn't called PostMessage") + sent, all);
        EXPECT_LE(takeAnswers().size(), sent) << "a browser delivers none of a dying instance";
    }

    void expectNothingMore() {
        m_recorder.clear();
        EXPECT_EQ(finish(0, {0, 0, nullptr}), SSO_ERROR_INVALID);
        host().runOnMain([] {});
        EXPECT_THAT(takeAnswers(), IsEmpty());
        EXPECT_THAT(m_recorder.events(), IsEmpty());
    }
};

TEST_F(AnInstanceWithOperations, DropsTheirAnswersWhenItGoes) {
    const PP_Instance instance = embedWith(support::kPartner);
    startAll(instance);
    startAll(instance);
    EXPECT_THAT(destroyed(instance),
                ElementsAreArray(destruction(sequence({allDropped(), allDropped()}))));
    EXPECT_EQ(sso_api_control_outstanding(), 0);
    EXPECT_THAT(takeAnswers(), IsEmpty());
    expectNothingMore();
}

// Those that are started and those that the worker has yet to start.
TEST_F(AnInstanceWithOperations, GoesAThousandTimesWithoutALateCallback) {
    const EventMatchers expected = destruction(allDropped());
    for (int round = 0; round < 1000; ++round) {
        SCOPED_TRACE(round);
        m_recorder.clear();
        const PP_Instance instance = embedWith(support::kPartner);
        postAll(instance);
        if (round % 2 == 0) {
            EXPECT_TRUE(host().drain(instance));
            EXPECT_THAT(destroyed(instance), ElementsAreArray(expected));
        } else {
            ASSERT_TRUE(host().destroy(instance));
            EXPECT_EQ(count("m_poInstance is null didn't called PostMessage"),
                      kAsynchronousCommands.size());
            for (const AsynchronousCommand& command : kAsynchronousCommands) {
                EXPECT_EQ(count(answerLine(command.name)), 1U) << command.name;
            }
        }
        EXPECT_EQ(sso_api_control_outstanding(), 0);
        expectNothingMore();
        if (HasFailure()) break;
    }
}

// The client library ends the operations of the whole process. The instance that stays hears of it
// like of any other end.
TEST_F(AnInstanceWithOperations, LeavesItsNeighbourWithOneAnswerForEach) {
    const PP_Instance going = embedWith(support::kPartner);
    const PP_Instance staying = embed();
    std::vector<Value> answers;
    EventMatchers ends;
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        start(staying, command);
        start(going, command);
        start(staying, command);
        answers.insert(answers.end(), 2, endAnswer(command, kCancelled));
        ends = sequence({ends, answered(command), dropped(command), answered(command)});
    }
    takeAnswers();
    m_recorder.clear();
    ASSERT_TRUE(host().destroy(going));
    EXPECT_THAT(withoutQuit(m_recorder.events()), ElementsAreArray(destruction(ends)));
    std::vector<Value> values;
    for (const host::Message& message : host().takeMessages()) {
        EXPECT_EQ(message.instance, staying);
        values.push_back(message.value);
    }
    EXPECT_EQ(values, answers);

    EXPECT_EQ(replyTo(staying, requestOf(kVersion)), versionReply());
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        start(staying, command);
        ASSERT_EQ(finish(0, {2, 2, "2"}), SSO_OK);
        EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(command, {2, 2, "2"})));
    }
}

TEST_F(AnInstanceWithOperations, AnswersOrDropsEachWhileTheyEndByThemselves) {
    std::mt19937 random(20);  // the same rounds each time; how they interleave is up to the machine
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        support::endPopupsAfter(static_cast<int>(random() % 3), "closed");
        const PP_Instance instance = embedWith(support::kPartner);
        m_recorder.clear();
        const auto counts = postAny(instance, 1 + random() % 8, random);
        if (random() % 2 == 0) {
            EXPECT_TRUE(host().drain(instance));
        }
        host().destroy(instance);
        EXPECT_NE(m_recorder.events().back().what.find("~CPluginSSOMessageHandler"),
                  std::string::npos)
            << "the last word is the destructor's";
        expectOneEndForEach(counts);
        expectNothingMore();
    }
}

TEST_F(AnInstanceWithOperations, AnswersOrDropsEachWhileAUserEndsThem) {
    std::mt19937 random(21);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const PP_Instance instance = embedWith(support::kPartner);
        m_recorder.clear();
        const auto counts = postAny(instance, 1 + random() % 8, random);
        if (random() % 2 == 0) {
            EXPECT_TRUE(host().drain(instance));
        }
        std::atomic<bool> gone{false};
        std::vector<std::thread> users;
        for (int user = 0; user < 2; ++user) {
            users.emplace_back([&gone] {
                while (!gone) finish(0, {0, SSO_POPUP_COMPLETED, "token"});
            });
        }
        host().destroy(instance);
        gone = true;
        for (std::thread& user : users) user.join();
        expectOneEndForEach(counts);
    }
}

// As above, with nothing between the threads but what the plug-in and its suppliers do: what is not
// in order here, the thread sanitizer tells.
TEST_F(AnInstanceWithOperations, NeedsNoLogToGoInOrder) {
    m_recorder.ignoreLog();
    std::mt19937 random(23);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        support::endPopupsAfter(static_cast<int>(random() % 2), "closed");
        const PP_Instance instance = embedWith(support::kPartner);
        const std::size_t operations = 1 + random() % 32;
        postAny(instance, operations, random);
        host().destroy(instance);
        EXPECT_EQ(sso_api_control_outstanding(), 0);
        EXPECT_LE(takeAnswers().size(), operations);
        host().runOnMain([] {});
        EXPECT_THAT(takeAnswers(), IsEmpty());
    }
}

TEST_F(AnInstanceWithOperations, MayGoTogetherWithOthersInAnyOrder) {
    std::mt19937 random(22);
    for (int round = 0; round < kRounds / 4; ++round) {
        SCOPED_TRACE(round);
        m_extension.grant(support::kPartner);
        std::vector<PP_Instance> instances;
        for (std::size_t i = 0; i < 4; ++i) {
            instances.push_back(host().embed());
            postAny(instances.back(), i + 1, random);
        }
        std::shuffle(instances.begin(), instances.end(), random);
        while (!instances.empty()) {
            const PP_Instance going = instances.back();
            instances.pop_back();
            host().destroy(going);
            takeAnswers();
            for (const PP_Instance staying : instances) {
                EXPECT_EQ(replyTo(staying, requestOf(kVersion)), versionReply());
            }
            for (const host::Message& message : host().takeMessages()) {
                EXPECT_NE(message.instance, going) << "a message of an instance that went";
            }
        }
        EXPECT_EQ(sso_api_control_outstanding(), 0);
    }
}

TEST_F(AnInstanceWithOperations, MayGoWithTheModule) {
    for (int i = 0; i < 3; ++i) startAll(embedWith(support::kPartner));
    m_recorder.clear();
    host().unload();
    EXPECT_EQ(sso_api_control_outstanding(), 0);
    EXPECT_EQ(count("sso_give_proxy"), 3U);
    EXPECT_EQ(count("m_poInstance is null didn't called PostMessage"), kAsynchronousCommands.size())
        << "of the first that goes";
    EXPECT_EQ(count("send message to web app"), 2 * kAsynchronousCommands.size())
        << "of those that are still there then";
    EXPECT_EQ(finish(0, {0, 0, nullptr}), SSO_ERROR_INVALID);
}

// The end waits for the worker, and only then for the operations: also for the one that the worker
// is just starting.
TEST_F(AnInstanceWithABusyWorker, IsLeftAtWorkUntilItIsDone) {
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        const auto starting = [&](const Event& event) { return event.what == command.function; };
        const PP_Instance instance = embedWith(support::kPartner);
        support::Signal ending;
        m_recorder.setHook([&](const Event& event) {
            if (starting(event)) {
                EXPECT_TRUE(ending.wait());
            }
            if (event.what == "PostQuit") ending.give();
        });
        m_recorder.clear();
        host().post(instance, requestFor(command));
        EXPECT_TRUE(m_recorder.waitFor(1, starting));
        EXPECT_TRUE(host().destroy(instance));
        m_recorder.setHook(nullptr);
        EXPECT_THAT(withoutQuit(m_recorder.events()),
                    ElementsAreArray(sequence({started(command), destruction(dropped(command))})));
        EXPECT_EQ(sso_api_control_outstanding(), 0);
        EXPECT_THAT(takeAnswers(), IsEmpty());
    }
}

TEST_F(AnInstanceWithABusyWorker, GoesTwoHundredTimesWithoutATrace) {
    std::mt19937 random(24);
    for (int round = 0; round < kRounds; ++round) {
        m_extension.grant(support::kAll);
        const PP_Instance instance = host().embed();
        for (int i = 0; i < 5; ++i) {
            host().post(instance, requestFor(anyCommand(random)));
            host().post(instance, Value(i));
        }
        ASSERT_TRUE(host().destroy(instance));
        takeAnswers();
        host().runOnMain([] {});
        EXPECT_THAT(takeAnswers(), IsEmpty()) << "round " << round;
        EXPECT_EQ(sso_api_control_outstanding(), 0);
        EXPECT_THAT(host().moduleHeldVars(), IsEmpty());
    }
}

TEST_F(AnInstanceWithABusyWorker, AnswersABlockingMessageThatReachedItsLoop) {
    const auto asked = [](const Event& event) { return event.what == "sso_get_auth_token"; };
    const PP_Instance instance = embedWith(support::kPlatform);
    const sso_login_info info = {"first", "uid", {}};
    ASSERT_EQ(setAnswer("sso_get_login_info", {0, nullptr, &info, nullptr}), SSO_OK);
    ASSERT_EQ(setAnswer("sso_get_guid", {0, nullptr, nullptr, "guid"}), SSO_OK);
    ASSERT_EQ(setAnswer("sso_get_auth_token", {0, nullptr, nullptr, "token"}), SSO_OK);
    support::Signal ending;
    m_recorder.setHook([&](const Event& event) {
        if (asked(event)) {
            EXPECT_TRUE(ending.wait());
        }
        if (event.what == "PostQuit") ending.give();
    });
    auto asking = std::async(std::launch::async, [&] {
        return host().call(instance, requestOf("sso_plugin_getSSOState"));
    });
    EXPECT_TRUE(m_recorder.waitFor(1, asked));
    EXPECT_TRUE(host().destroy(instance));
    m_recorder.setHook(nullptr);
    const CallResult result = asking.get();
    EXPECT_EQ(result.status, CallResult::Status::Replied);
    EXPECT_EQ(result.value, goodReply("first?token?uid?guid"));
}

TEST_F(ARunningCallback, IsWaitedForByTheInstanceThatGoes) {
    const auto answering = [](const Event& event) {
        return event.what.find("m_ResponseData(56)") != std::string::npos;
    };
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        const PP_Instance instance = embedWith(support::kPartner);
        start(instance, command);
        m_recorder.clear();
        support::Signal proxyGiven;
        m_recorder.setHook([&](const Event& event) {
            if (answering(event)) {
                EXPECT_TRUE(proxyGiven.wait());
            }
            if (event.what == "sso_give_proxy") proxyGiven.give();
        });
        int returned = -7;
        std::thread user([&] { finish(0, {0, 0, "text"}, &returned); });
        EXPECT_TRUE(m_recorder.waitFor(1, answering));
        EXPECT_TRUE(host().destroy(instance));
        user.join();
        m_recorder.setHook(nullptr);

        EXPECT_EQ(returned, 0) << "a dropped answer is no error to the library";
        EXPECT_THAT(takeAnswers(), IsEmpty());
        // The callback begins before and ends inside sso_give_proxy; nothing comes after the
        // destructor.
        const auto begun = static_cast<std::ptrdiff_t>(callbackLine(command).size()) + 1;
        const EventMatchers end = dropped(command);
        EXPECT_THAT(withoutQuit(m_recorder.events()),
                    ElementsAreArray(sequence({{end.begin(), end.begin() + begun},
                                               destruction({end.begin() + begun, end.end()})})));
    }
}

}  // namespace
}  // namespace protocol
