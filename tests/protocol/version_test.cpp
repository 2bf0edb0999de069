// The version, asked for.

#include <gmock/gmock.h>

#include "blocking_commands.h"
#include "protocol_test.h"

namespace protocol {
namespace {

using TheVersion = ProtocolTest;

TEST_F(TheVersion, IsAText) {
    const PP_Instance instance = embedWith(support::kPartner);
    const Value reply = replyTo(instance, requestOf(kVersion));
    EXPECT_EQ(reply, json(R"({"code": 0, "errorName": "", "errorMessage": "", "value": "1.1"})"));
    EXPECT_TRUE(reply["value"].isString());
    EXPECT_TRUE(reply["code"].isInt32());
    EXPECT_THAT(takeAnswers(), IsEmpty());
}

TEST_F(TheVersion, IsTheSameEachTime) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(replyTo(instance, requestOf(kVersion)), versionReply());
}

TEST_F(TheVersion, IsTheSameWhateverElseIsInTheRequest) {
    const PP_Instance instance = embedWith(support::kPartner);
    EXPECT_EQ(replyTo(instance, json(R"({"command": "sso_plugin_getVersion", "value": "9",
                                          "data": [1, {"command": 7}], "code": -1, "": null})")),
              versionReply());
}

TEST_F(TheVersion, IsLogged) {
    const PP_Instance instance = embedWith(support::kPartner);
    m_recorder.clear();
    replyTo(instance, requestOf(kVersion));
    EXPECT_THAT(m_recorder.events(), ElementsAreArray(askedFor(kVersion)));
}

TEST_F(TheVersion, NeedsThePartnerPrivilege) {
    EXPECT_EQ(replyTo(embedWith(support::kPlatform | support::kPublic), requestOf(kVersion)),
              errorReply(18, "SecurityError", "You do not have the privilege"));
    EXPECT_EQ(replyTo(embedWith(support::kPartner), requestOf(kVersion)), versionReply());
}

TEST_F(TheVersion, ComesFromTheWorker) {
    const PP_Instance instance = embedWith(support::kPartner);
    m_recorder.clear();
    host().runOnMain([] {});
    replyTo(instance, requestOf(kVersion));
    const std::vector<Event> events = m_recorder.events();
    ASSERT_FALSE(events.empty());
    const pid_t main = mainThread();
    for (const Event& event : events) EXPECT_NE(event.threadId, main) << event.what;
}

}  // namespace
}  // namespace protocol
