// The end of an instance, and of its handler's registration.

#include <gmock/gmock.h>

#include "protocol_test.h"

namespace protocol {
namespace {

using AnInstanceBeingDestroyed = ProtocolTest;
using AnUnregisteredHandler = ProtocolTest;

TEST_F(AnInstanceBeingDestroyed, EndsItsLoopThenWithdrawsThenGivesTheProxyBack) {
    const PP_Instance instance = embedWith(support::kPartner);
    EXPECT_THAT(destroyed(instance), ElementsAreArray(destruction()));
}

TEST_F(AnInstanceBeingDestroyed, DoesEverythingButItsLoopOnTheMainThread) {
    const PP_Instance instance = embed();
    const pid_t main = mainThread();
    for (const Event& event : destroyed(instance)) {
        SCOPED_TRACE(event.what);
        EXPECT_EQ(event.threadId == main, event.what != "Run returned");
    }
}

TEST_F(AnInstanceBeingDestroyed, TellsThePageNothing) {
    const PP_Instance instance = embed();
    takeAnswers();
    host().destroy(instance);
    EXPECT_THAT(takeAnswers(), IsEmpty());
}

TEST_F(AnInstanceBeingDestroyed, DoesTheSameAfterItWasUsed) {
    const PP_Instance instance = embedWith(support::kAll);
    replyTo(instance, requestOf(kVersion));
    answersTo(instance, Value(7));
    startLogin(instance);
    finish(0, {0, 0, nullptr});
    EXPECT_THAT(destroyed(instance), ElementsAreArray(destruction()));
}

// Messages that reached the worker's loop are handled before the handler goes; their answers have
// no page any more.
TEST_F(AnInstanceBeingDestroyed, HandlesWhatItsLoopGotBefore) {
    const PP_Instance instance = embedWith(support::kNone);
    m_recorder.clear();
    host().runOnMain([&] {
        for (int i = 0; i < 20; ++i) host().post(instance, Value(i));
    });
    host().destroy(instance);
    EXPECT_EQ(count("HandleMessageImpl SSO start"), 20U);
    EXPECT_EQ(count("The incoming message is invalid"), 20U);
    const std::vector<Event> events = m_recorder.events();
    const EventMatchers end = destruction();
    ASSERT_GE(events.size(), end.size());
    EXPECT_THAT(
        std::vector<Event>(events.end() - static_cast<std::ptrdiff_t>(end.size()), events.end()),
        ElementsAreArray(end));
}

TEST_F(AnInstanceBeingDestroyed, LeavesTheOthersAtWork) {
    const PP_Instance first = embedWith(support::kPartner);
    const PP_Instance second = embed();
    host().destroy(first);
    EXPECT_EQ(replyTo(second, requestOf(kVersion)), versionReply());
    EXPECT_EQ(host().call(first, requestOf(kVersion)).status, CallResult::Status::InstanceGone);
}

TEST_F(AnInstanceBeingDestroyed, DoesTheSameForEachWhenTheModuleIsUnloaded) {
    embed();
    embed();
    embed();
    m_recorder.clear();
    host().unload();
    EXPECT_THAT(withoutQuit(m_recorder.events()),
                ElementsAreArray(sequence({destruction(), destruction(), destruction()})));
}

TEST_F(AnUnregisteredHandler, TellsThePageWithOneWord) {
    const PP_Instance instance = embed();
    const pid_t main = mainThread();
    m_recorder.clear();
    host().unregister(instance);
    ASSERT_TRUE(host().waitForMessages(1, std::chrono::seconds(30)));
    ASSERT_TRUE(host().destroy(instance));  // its loop has done all its work then

    const std::vector<host::Message> messages = host().takeMessages();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].value, Value("Unregister"));
    EXPECT_EQ(messages[0].instance, instance);
    EXPECT_NE(messages[0].threadId, main);

    EXPECT_THAT(withoutQuit(m_recorder.events()),
                ElementsAreArray(sequence(
                    {{logged(Kind::Flow, handlerPlace("WasUnregistered"), "WasUnregistered")},
                     scope("WasUnregistered", 386),
                     {messagePosted()},
                     destruction()})));
}

TEST_F(AnUnregisteredHandler, SaysSoOnTheThreadOfItsLoop) {
    const PP_Instance instance = embedWith(support::kPartner);
    m_recorder.clear();
    replyTo(instance, requestOf(kVersion));
    const pid_t worker = m_recorder.events().at(0).threadId;
    host().unregister(instance);
    ASSERT_TRUE(host().waitForMessages(1, std::chrono::seconds(30)));
    EXPECT_EQ(host().takeMessages()[0].threadId, worker);
    host().destroy(instance);
}

TEST_F(AnUnregisteredHandler, HandlesNothingMore) {
    const PP_Instance instance = embedWith(support::kAll);
    host().unregister(instance);
    ASSERT_TRUE(host().waitForMessages(1, std::chrono::seconds(30)));
    takeAnswers();
    m_recorder.clear();
    EXPECT_THAT(answersTo(instance, requestOf(kLogin)), IsEmpty());
    EXPECT_EQ(host().call(instance, requestOf(kVersion)).status, CallResult::Status::NotHandled);
    host().unregister(instance);
    EXPECT_TRUE(host().drain(instance));
    EXPECT_THAT(m_recorder.events(), IsEmpty());
    EXPECT_THAT(takeAnswers(), IsEmpty());
    host().destroy(instance);
}

// Only the registration went: the handler is still there for what it started.
TEST_F(AnUnregisteredHandler, StillAnswersWhatItStarted) {
    const PP_Instance instance = embedWith(support::kPartner);
    startLogin(instance);
    host().unregister(instance);
    ASSERT_TRUE(host().waitForMessages(1, std::chrono::seconds(30)));
    takeAnswers();
    ASSERT_EQ(finish(0, {0, 5, nullptr}), SSO_OK);
    EXPECT_THAT(takeAnswers(), ElementsAre(loginAnswer(5)));
    host().destroy(instance);
}

}  // namespace
}  // namespace protocol
