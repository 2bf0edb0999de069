// A session: numbered instances, each in its own application, and events for a front end.

#include "host/session.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "browser_tables.h"
#include "event_log.h"
#include "host_test.h"

namespace {

using embedder::Application;
using host::Event;
using host::RequestError;
using host::Session;
using host::Value;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr std::chrono::seconds kLongest{30};

/// What the vendor interface says to an instance about a privilege: yes, no, or the error's number.
std::string askPrivilege(PPB_GetInterface getInterface, PP_Instance instance,
                         const std::string& privilege) {
    const auto* table = static_cast<const PPB_ExtensionSystem_Korvane_0_1*>(
        getInterface(PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1));
    if (table == nullptr) return "no interface";
    const PP_Var name = support::text("check_ace_privilege");
    const PP_Var parameter = support::text(privilege);
    PP_Var result = PP_MakeUndefined();
    const std::int32_t code = table->GenericSyncCall(instance, name, parameter, &result);
    support::vars().Release(name);
    support::vars().Release(parameter);
    if (code != PP_OK) return std::to_string(code);
    return result.value.as_bool == PP_TRUE ? "yes" : "no";
}

/// A session with the scripted module, whose instances ask for privileges "a" and "b" when they are
/// made.
class ASession : public ::testing::Test {
  protected:
    ASession() {
        m_module.didCreate = [this](PP_Instance instance, const host::Attributes&) {
            m_ids.push_back(instance);
            m_answers.push_back(ask(instance));
            return m_accepts;
        };
    }

    Session& start(std::optional<Application> application = Application{"first", {"a"}}) {
        host::HostOptions options;
        options.entryPoints = ScriptedModule::entryPoints();
        return m_session.emplace(
            std::move(options), std::move(application), [this](const Event& event) {
                m_events.add(std::to_string(event.instance) + " " + event.name);
            });
    }

    std::pair<std::string, std::string> ask(PP_Instance instance) const {
        return {askPrivilege(m_module.getInterface, instance, "a"),
                askPrivilege(m_module.getInterface, instance, "b")};
    }

    void postFrom(PP_Instance instance, const char* text) const {
        const PP_Var message = support::text(text);
        support::messaging().PostMessage(instance, message);
        support::vars().Release(message);
    }

    bool m_accepts = true;
    ScriptedModule m_module;
    std::vector<PP_Instance> m_ids;
    std::vector<std::pair<std::string, std::string>> m_answers;
    support::EventLog m_events;
    std::optional<Session> m_session;
};

TEST_F(ASession, GivesEachInstanceTheGrantsOfItsApplicationBeforeItIsMade) {
    Session& session = start();
    session.embed({}, Application{"second", {"b"}});
    session.embed({}, Application{"third", {}});
    session.embed({}, std::nullopt);
    EXPECT_THAT(m_answers, ElementsAre(Pair("yes", "no"), Pair("no", "yes"), Pair("no", "no"),
                                       Pair("yes", "no")));
    // And each keeps them while the others are there.
    EXPECT_THAT(ask(m_ids[0]), Pair("yes", "no"));
    EXPECT_THAT(ask(m_ids[1]), Pair("no", "yes"));
    EXPECT_THAT(session.unload(), IsEmpty());
}

TEST_F(ASession, TakesTheGrantsAwayWithTheInstance) {
    Session& session = start();
    session.embed({}, Application{"second", {"b"}});
    const std::string unknown = std::to_string(PP_ERROR_FAILED);
    session.destroy(2);
    EXPECT_THAT(ask(m_ids[1]), Pair(unknown, unknown));
    EXPECT_THAT(ask(m_ids[0]), Pair("yes", "no"));

    m_accepts = false;
    EXPECT_THROW(session.embed({}, Application{"third", {"a"}}), RequestError);
    EXPECT_THAT(m_answers.back(), Pair("yes", "no"));
    EXPECT_THAT(ask(m_ids[2]), Pair(unknown, unknown));

    const auto* table = embedder::vendorTable();
    EXPECT_EQ(support::takeValue(table->GetEmbedderName(m_ids[0])), Value("QuarnWRT"));
    session.unload();
    EXPECT_EQ(table->GetEmbedderName(m_ids[0]).type, PP_VARTYPE_UNDEFINED);
}

TEST_F(ASession, LeavesTheGrantsToAnInstanceUntilItsEnd) {
    Session& session = start();
    std::vector<std::pair<std::string, std::string>> atTheEnd;
    m_module.didDestroy = [&](PP_Instance instance) { atTheEnd.push_back(ask(instance)); };
    session.destroy(1);
    EXPECT_THAT(atTheEnd, ElementsAre(Pair("yes", "no")));
    session.unload();
}

TEST_F(ASession, WithoutAnApplicationOffersNoVendorInterface) {
    Session& session = start(std::nullopt);
    EXPECT_THAT(m_answers, ElementsAre(Pair("no interface", "no interface")));
    EXPECT_THROW(session.embed({}, Application{"second", {"b"}}), RequestError);
    session.embed({}, std::nullopt);
    EXPECT_THAT(m_answers.back(), Pair("no interface", "no interface"));
    session.unload();
}

TEST_F(ASession, TellsItsSinkOfTheEventsInTheirOrder) {
    m_module.didCreate = [this](PP_Instance instance, const host::Attributes&) {
        m_ids.push_back(instance);
        postFrom(instance, "hello");
        return true;
    };
    Session& session = start();
    session.embed({}, std::nullopt);
    session.wait(2, kLongest);
    session.unregister(1);
    session.destroy(2);
    EXPECT_THAT(m_events.all(), ElementsAre("1 message", "2 embedded", "2 message",
                                            "1 unregistered", "2 destroyed"));
    session.unload();
}

TEST_F(ASession, RefusesWhatIsNotThere) {
    Session& session = start();
    EXPECT_THROW(session.post(7, Value(1)), RequestError);
    EXPECT_THROW(session.call(7, Value(1), kLongest), RequestError);
    EXPECT_THROW(session.call(1, Value(1), kLongest), RequestError) << "no handler";
    EXPECT_THROW(session.destroy(7), RequestError);
    EXPECT_THROW(session.unregister(7), RequestError);
    EXPECT_THROW(session.wait(1, std::chrono::milliseconds(0)), RequestError);
    EXPECT_THAT(m_events.all(), IsEmpty());
    session.unload();
}

}  // namespace
