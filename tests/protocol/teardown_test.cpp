// Instances that go while something of theirs is under way.

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <random>
#include <thread>

#include "gate.h"
#include "protocol_test.h"

namespace protocol {
namespace {

using AnInstanceWithOpenPages = ProtocolTest;
using AnInstanceWithABusyWorker = ProtocolTest;
using ARunningCallback = ProtocolTest;

constexpr int kRounds = 200;

Value login() { return json(R"({"command": "sso_plugin_show_login_page", "data": "x"})"); }

/// `count` dropped answers, one after the other.
EventMatchers droppedAnswers(int count) {
    EventMatchers all;
    for (int i = 0; i < count; ++i) {
        const EventMatchers one = droppedResponse("sso_plugin_show_login_page", 0);
        all.insert(all.end(), one.begin(), one.end());
    }
    return all;
}

TEST_F(AnInstanceWithOpenPages, DropsTheirAnswersWhenItGoes) {
    const PP_Instance instance = embedWith(support::kPartner);
    startLogin(instance);
    startLogin(instance);
    startLogin(instance);
    EXPECT_THAT(destroyed(instance), ElementsAreArray(destruction(droppedAnswers(3))));
    EXPECT_EQ(sso_api_control_outstanding(), 0);
    EXPECT_THAT(takeAnswers(), IsEmpty());
}

TEST_F(AnInstanceWithOpenPages, GetsNoCallbackAfterItWent) {
    for (int round = 0; round < kRounds; ++round) {
        const PP_Instance instance = embedWith(support::kPartner);
        const int pages = 1 + round % 4;
        for (int i = 0; i < pages; ++i) host().post(instance, login());
        if (round % 2 == 0) {
            EXPECT_TRUE(host().drain(instance));
        }
        ASSERT_TRUE(host().destroy(instance));
        EXPECT_EQ(sso_api_control_outstanding(), 0);
        m_recorder.clear();
        EXPECT_EQ(sso_api_control_finish(0, 0, 0, nullptr), SSO_ERROR_INVALID);
        host().runOnMain([] {});
        EXPECT_THAT(takeAnswers(), IsEmpty()) << "round " << round;
        EXPECT_THAT(m_recorder.events(), IsEmpty()) << "round " << round;
    }
}

// The client library ends the operations of the whole process. The instance that stays hears of it
// like of any other end.
TEST_F(AnInstanceWithOpenPages, LeavesItsNeighbourWithOneAnswerForEach) {
    const PP_Instance going = embedWith(support::kPartner);
    const PP_Instance staying = embed();
    startLogin(going);
    startLogin(staying);
    startLogin(staying);
    takeAnswers();
    m_recorder.clear();
    ASSERT_TRUE(host().destroy(going));
    const auto messages = host().takeMessages();
    ASSERT_EQ(messages.size(), 2U);
    for (const host::Message& message : messages) {
        EXPECT_EQ(message.instance, staying);
        EXPECT_EQ(message.value, loginAnswer(SSO_POPUP_CANCELLED));
    }
    const EventMatchers answered = response(kLogin, 0, "", "");
    EXPECT_THAT(withoutQuit(m_recorder.events()),
                ElementsAreArray(destruction(sequence({droppedAnswers(1), answered, answered}))));

    EXPECT_EQ(replyTo(staying, requestOf(kVersion)), versionReply());
    startLogin(staying);
    ASSERT_EQ(sso_api_control_finish(0, 0, 2, nullptr), SSO_OK);
    EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(2)));
}

TEST_F(AnInstanceWithOpenPages, AnswersOrDropsEachWhileTheyEndByThemselves) {
    std::mt19937 random(20);  // the same rounds each time; how they interleave is up to the machine
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        sso_api_control_set_popup_end(static_cast<int>(random() % 3), SSO_POPUP_CLOSED);
        const PP_Instance instance = embedWith(support::kPartner);
        m_recorder.clear();
        const std::size_t pages = 1 + random() % 8;
        for (std::size_t i = 0; i < pages; ++i) host().post(instance, login());
        if (random() % 2 == 0) {
            EXPECT_TRUE(host().drain(instance));
        }
        host().destroy(instance);
        EXPECT_EQ(sso_api_control_outstanding(), 0);
        // Nothing is lost in silence, and nothing comes twice.
        EXPECT_EQ(m_recorder.libraryCalls().size(), pages + 1);
        EXPECT_EQ(count("m_poInstance is null didn't called PostMessage") +
                      count("send message to web app"),
                  pages);
        EXPECT_EQ(
            m_recorder.events().back().what.find("~CPluginSSOMessageHandler") != std::string::npos,
            true)
            << "the last word is the destructor's";
        for (const Value& answer : takeAnswers()) {
            EXPECT_EQ(answer["command"], Value(kLogin));
        }
        host().runOnMain([] {});
        EXPECT_THAT(takeAnswers(), IsEmpty());
    }
}

TEST_F(AnInstanceWithOpenPages, AnswersOrDropsEachWhileAUserEndsThem) {
    std::mt19937 random(21);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const PP_Instance instance = embedWith(support::kPartner);
        m_recorder.clear();
        const std::size_t pages = 1 + random() % 8;
        for (std::size_t i = 0; i < pages; ++i) host().post(instance, login());
        if (random() % 2 == 0) {
            EXPECT_TRUE(host().drain(instance));
        }
        std::atomic<bool> gone{false};
        std::thread user([&gone] {
            while (!gone) sso_api_control_finish(0, 0, SSO_POPUP_COMPLETED, nullptr);
        });
        host().destroy(instance);
        gone = true;
        user.join();
        EXPECT_EQ(sso_api_control_outstanding(), 0);
        EXPECT_EQ(count("m_poInstance is null didn't called PostMessage") +
                      count("send message to web app"),
                  pages);
        takeAnswers();
    }
}

// As above, with nothing between the threads but what the plug-in and its suppliers do: what is not
// in order here, the thread sanitizer tells.
TEST_F(AnInstanceWithOpenPages, NeedsNoLogToGoInOrder) {
    m_recorder.ignoreLog();
    std::mt19937 random(23);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        sso_api_control_set_popup_end(static_cast<int>(random() % 2), SSO_POPUP_CLOSED);
        const PP_Instance instance = embedWith(support::kPartner);
        const std::size_t pages = 1 + random() % 32;
        for (std::size_t i = 0; i < pages; ++i) host().post(instance, login());
        host().destroy(instance);
        EXPECT_EQ(sso_api_control_outstanding(), 0);
        EXPECT_LE(takeAnswers().size(), pages);
        host().runOnMain([] {});
        EXPECT_THAT(takeAnswers(), IsEmpty());
    }
}

TEST_F(AnInstanceWithOpenPages, MayGoTogetherWithOthersInAnyOrder) {
    std::mt19937 random(22);
    for (int round = 0; round < kRounds / 4; ++round) {
        SCOPED_TRACE(round);
        m_extension.grant(support::kPartner);
        std::vector<PP_Instance> instances;
        for (int i = 0; i < 4; ++i) {
            instances.push_back(host().embed());
            for (int page = 0; page <= i; ++page) host().post(instances.back(), login());
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

TEST_F(AnInstanceWithOpenPages, MayGoWithTheModule) {
    for (int i = 0; i < 3; ++i) startLogin(embedWith(support::kPartner));
    m_recorder.clear();
    host().unload();
    EXPECT_EQ(sso_api_control_outstanding(), 0);
    EXPECT_EQ(count("sso_give_proxy"), 3U);
    EXPECT_EQ(
        count("m_poInstance is null didn't called PostMessage") + count("send message to web app"),
        3U);
    EXPECT_EQ(sso_api_control_finish(0, 0, 0, nullptr), SSO_ERROR_INVALID);
}

// The end waits for the worker, and only then for the operations: also for the one that the worker
// is just starting.
TEST_F(AnInstanceWithABusyWorker, IsLeftAtWorkUntilItIsDone) {
    const PP_Instance instance = embedWith(support::kPartner);
    support::Gate ending;
    m_recorder.setHook([&](const Event& event) {
        if (event.what == "sso_show") ending.wait();
        if (event.what == "PostQuit") ending.open();
    });
    m_recorder.clear();
    host().post(instance, login());
    EXPECT_TRUE(m_recorder.waitFor(1, [](const Event& event) { return event.what == "sso_show"; }));
    EXPECT_TRUE(host().destroy(instance));
    m_recorder.setHook(nullptr);

    EXPECT_THAT(withoutQuit(m_recorder.events()),
                ElementsAreArray(sequence(
                    {{postedStart(), gate(kLogin), logged(Kind::Detail, postedPlace(140), kLogin),
                      called(Supplier::Library, "sso_show"), postedEnd()},
                     destruction(droppedAnswers(1))})));
    EXPECT_EQ(sso_api_control_outstanding(), 0);
    EXPECT_THAT(takeAnswers(), IsEmpty());
}

TEST_F(AnInstanceWithABusyWorker, GoesTwoHundredTimesWithoutATrace) {
    for (int round = 0; round < kRounds; ++round) {
        m_extension.grant(support::kPartner);
        const PP_Instance instance = host().embed();
        for (int i = 0; i < 5; ++i) {
            host().post(instance, login());
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
    const auto begun = [](const Event& event) {
        return event.what.find("HandleBlockingMessageImpl start") != std::string::npos;
    };
    const PP_Instance instance = embedWith(support::kPartner);
    support::Gate ending;
    m_recorder.setHook([&](const Event& event) {
        if (begun(event)) ending.wait();
        if (event.what == "PostQuit") ending.open();
    });
    auto asking =
        std::async(std::launch::async, [&] { return host().call(instance, requestOf(kVersion)); });
    EXPECT_TRUE(m_recorder.waitFor(1, begun));
    EXPECT_TRUE(host().destroy(instance));
    m_recorder.setHook(nullptr);
    const CallResult result = asking.get();
    EXPECT_EQ(result.status, CallResult::Status::Replied);
    EXPECT_EQ(result.value, versionReply());
}

TEST_F(ARunningCallback, IsWaitedForByTheInstanceThatGoes) {
    const auto answering = [](const Event& event) {
        return event.what.find("m_ResponseData(56)") != std::string::npos;
    };
    const PP_Instance instance = embedWith(support::kPartner);
    startLogin(instance);
    m_recorder.clear();
    support::Gate proxyGiven;
    m_recorder.setHook([&](const Event& event) {
        if (answering(event)) proxyGiven.wait();
        if (event.what == "sso_give_proxy") proxyGiven.open();
    });
    int returned = -7;
    std::thread user([&] { sso_api_control_finish(0, 0, 0, &returned); });
    EXPECT_TRUE(m_recorder.waitFor(1, answering));
    EXPECT_TRUE(host().destroy(instance));
    user.join();
    m_recorder.setHook(nullptr);

    EXPECT_EQ(returned, 0) << "a dropped answer is no error to the library";
    EXPECT_THAT(takeAnswers(), IsEmpty());
    // The callback begins before and ends inside sso_give_proxy; nothing comes after the destructor.
    const EventMatchers dropped = droppedAnswers(1);
    std::vector<Event> events = withoutQuit(m_recorder.events());
    ASSERT_FALSE(events.empty());
    EXPECT_THAT(events.front(), dropped.front());
    events.erase(events.begin());
    EXPECT_THAT(events, ElementsAreArray(destruction({dropped.begin() + 1, dropped.end()})));
}

}  // namespace
}  // namespace protocol
