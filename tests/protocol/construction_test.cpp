// The making of an instance: order of its calls, threads, and what it logs.

#include <gmock/gmock.h>

#include <chrono>
#include <set>

#include "ppapi/c/pp_errors.h"
#include "protocol_test.h"
#include "thread_signal.h"

namespace protocol {
namespace {

using AnInstanceBeingMade = ProtocolTest;
using ARefusedRegistration = ProtocolTest;
using ASlowWorker = ProtocolTest;
using AnInstance = ProtocolTest;

EventMatcher privilegeLine(const std::string& partner, const std::string& platform,
                           const std::string& publicOne, const std::string& pointer) {
    return logged(Kind::Detail, handlerPlace("CPluginSSOMessageHandler"),
                  "check privilege, m_bPrivilegePartner [%d], SSO_PRIVILEGE_PLATFORM [%d], "
                  "SSO_PRIVILEGE_PUBLIC [%d], instance [%p]",
                  "check privilege, m_bPrivilegePartner [" + partner +
                      "], SSO_PRIVILEGE_PLATFORM [" + platform + "], SSO_PRIVILEGE_PUBLIC [" +
                      publicOne + "], instance [" + pointer + "]");
}

/// The pointer at the end of the privilege line, "0x..." of a real one.
std::string pointerIn(const std::vector<Event>& events) {
    for (const Event& event : events) {
        const std::size_t start = event.what.find("instance [");
        if (start == std::string::npos) continue;
        const std::size_t from = start + std::string("instance [").size();
        return event.what.substr(from, event.what.find(']', from) - from);
    }
    return "";
}

EventMatchers mainThreadUpToStart(const std::string& pointer) {
    return sequence(
        {{asked(support::identifierOf(support::kPartner)),
          asked(support::identifierOf(support::kPlatform)),
          asked(support::identifierOf(support::kPublic)), privilegeLine("1", "0", "0", pointer)},
         scope("CPluginSSOMessageHandler", 30),
         {called(Supplier::Browser, "PPB_MessageLoop.Create"),
          logged(Kind::Flow, instancePlace(11), "[PluginSSO] begin m_poAdditionalThread->Start()"),
          logged(Kind::Flow, instancePlace(14), "[PluginSSO] begin RegisterMessageHandler")}});
}

TEST_F(AnInstanceBeingMade, AsksForPrivilegesThenStartsItsThreadThenRegisters) {
    const pid_t main = mainThread();
    m_recorder.clear();
    const PP_Instance instance = embedWith(support::kPartner);
    const std::vector<Event> events = m_recorder.events();
    const std::string pointer = pointerIn(events);
    EXPECT_THAT(pointer, ::testing::MatchesRegex("0x[0-9a-f]+"));

    EXPECT_THAT(
        eventsOn(main, events),
        ElementsAreArray(sequence({mainThreadUpToStart(pointer),
                                   {called(Supplier::Browser, "RegisterMessageHandler -> 0"),
                                    logged(Kind::Flow, instancePlace(18),
                                           "[PluginSSO] RegisterMessageHandler success")}})));
    EXPECT_THAT(m_extension.askers(), ElementsAre(instance, instance, instance));
    EXPECT_TRUE(m_recorder.events(Supplier::Library).empty());
    EXPECT_TRUE(m_recorder.events(Supplier::Configuration).empty());
    EXPECT_TRUE(takeAnswers().empty()) << "nobody asked";
}

TEST_F(AnInstanceBeingMade, RunsItsLoopOnOneThreadOfItsOwn) {
    const pid_t main = mainThread();
    m_recorder.clear();
    embedWith(support::kPartner);

    std::vector<Event> elsewhere;
    std::set<pid_t> threads;
    for (const Event& event : m_recorder.events()) {
        if (event.threadId == main) continue;
        elsewhere.push_back(event);
        threads.insert(event.threadId);
    }
    EXPECT_THAT(elsewhere, ElementsAre(called(Supplier::Browser, "AttachToCurrentThread"),
                                       called(Supplier::Browser, "Run")));
    EXPECT_EQ(threads.size(), 1U);
}

TEST_F(AnInstanceBeingMade, WaitsForItsLoopBeforeItSaysThatItRegisters) {
    embed();
    std::vector<std::string> order;
    for (const Event& event : m_recorder.events()) {
        for (const char* step : {"m_poAdditionalThread->Start()", "AttachToCurrentThread",
                                 "begin RegisterMessageHandler", "RegisterMessageHandler -> 0"}) {
            if (event.what.find(step) != std::string::npos) order.emplace_back(step);
        }
    }
    EXPECT_THAT(order, ElementsAre("m_poAdditionalThread->Start()", "AttachToCurrentThread",
                                   "begin RegisterMessageHandler", "RegisterMessageHandler -> 0"));
}

TEST_F(AnInstanceBeingMade, AttachesItsLoopBeforeItRegisters) {
    embed();
    std::vector<std::string> order;
    for (const Event& event : m_recorder.events(Supplier::Browser)) {
        if (event.what == "AttachToCurrentThread" || event.what == "RegisterMessageHandler -> 0") {
            order.push_back(event.what);
        }
    }
    EXPECT_THAT(order, ElementsAre("AttachToCurrentThread", "RegisterMessageHandler -> 0"));
    ASSERT_EQ(host().registrations().size(), 1U);
    EXPECT_TRUE(host().registrations()[0].loopAttached);
    EXPECT_EQ(host().registrations()[0].result, PP_OK);
}

TEST_F(AnInstanceBeingMade, NamesTheThreadThatMakesIt) {
    std::string before;
    host().runOnMain([&] { before = support::thisThreadName(); });
    EXPECT_NE(before, "qpp.sso");
    embed();
    std::string after;
    host().runOnMain([&] { after = support::thisThreadName(); });
    EXPECT_EQ(after, "qpp.sso");
}

TEST_F(AnInstanceBeingMade, NamesTheThreadAfterTheLoopWasMadeAndBeforeItSaysAnything) {
    const pid_t main = mainThread();
    m_recorder.clear();
    embed();
    bool greenSeen = false;
    for (const Event& event : eventsOn(main, m_recorder.events())) {
        if (event.what.find("m_poAdditionalThread->Start()") != std::string::npos) greenSeen = true;
        SCOPED_TRACE(event.what);
        if (greenSeen) {
            EXPECT_EQ(event.thread, "qpp.sso");
        } else {
            EXPECT_NE(event.thread, "qpp.sso");
        }
    }
    EXPECT_TRUE(greenSeen);
}

TEST_F(AnInstanceBeingMade, IsMadeWhateverTheElementsAttributesAre) {
    const std::vector<host::Attributes> all = {
        {},
        {{"type", "application/x-sso-plugin"}, {"", ""}, {"width", "-1"}},
        host::Attributes(500, {"name", "value"})};
    m_extension.grant(support::kPartner);
    for (const host::Attributes& attributes : all) {
        SCOPED_TRACE(attributes.size());
        const PP_Instance instance = host().embed(attributes);
        EXPECT_EQ(replyTo(instance, requestOf(kVersion)), versionReply());
    }
}

// Static data of the extension wrapper: asked for once in a process, whatever the answer was.
TEST_F(AnInstanceBeingMade, LooksTheVendorTableUpOnce) {
    embed();
    embed();
    embed();
    const std::vector<std::string> lookups = m_recorder.lookups();
    EXPECT_EQ(std::count(lookups.begin(), lookups.end(), "PPB_ExtensionSystem_Korvane;0.1"), 1);
}

TEST_F(AnInstanceBeingMade, LooksAMissingVendorTableUpOnce) {
    replaceInterface("PPB_ExtensionSystem_Korvane;0.1", nullptr);
    embed();
    embed();
    const std::vector<std::string> lookups = m_recorder.lookups();
    EXPECT_EQ(std::count(lookups.begin(), lookups.end(), "PPB_ExtensionSystem_Korvane;0.1"), 1);
}

TEST_F(ARefusedRegistration, IsLoggedOnceInRed) {
    const std::vector<std::int32_t> results = {PP_ERROR_FAILED, PP_ERROR_BADARGUMENT,
                                               PP_ERROR_WRONG_THREAD, PP_OK_COMPLETIONPENDING, 1};
    for (const std::int32_t result : results) {
        SCOPED_TRACE(result);
        const pid_t main = mainThread();
        m_recorder.clear();
        host().failNextRegistration(result);
        const PP_Instance instance = embedWith(support::kPartner);
        const std::vector<Event> events = m_recorder.events();
        EXPECT_THAT(
            eventsOn(main, events),
            ElementsAreArray(sequence(
                {mainThreadUpToStart(pointerIn(events)),
                 {called(Supplier::Browser, "RegisterMessageHandler -> " + std::to_string(result)),
                  logged(Kind::Error, instancePlace(22),
                         "[PluginSSO] RegisterMessageHandler Fail")}})));
        EXPECT_THAT(host().instances(), ElementsAre(instance));
        EXPECT_TRUE(host().destroy(instance));
    }
}

TEST_F(ARefusedRegistration, LeavesAnInstanceThatHandlesNothing) {
    host().failNextRegistration(PP_ERROR_FAILED);
    const PP_Instance instance = embedWith(support::kAll);
    m_recorder.clear();
    EXPECT_THAT(answersTo(instance, json(R"({"command": "sso_plugin_show_login_page"})")),
                IsEmpty());
    EXPECT_THAT(answersTo(instance, Value(7)), IsEmpty());
    EXPECT_EQ(host().call(instance, requestOf(kVersion)).status, CallResult::Status::NotHandled);
    EXPECT_THAT(m_recorder.events(), IsEmpty());
    EXPECT_THAT(host().instances(), ElementsAre(instance));
}

TEST_F(ARefusedRegistration, IsNotTriedAgain) {
    host().failNextRegistration(PP_ERROR_FAILED);
    const PP_Instance instance = embed();
    answersTo(instance, Value(7));
    ASSERT_EQ(host().registrations().size(), 1U);
    EXPECT_EQ(host().registrations()[0].result, PP_ERROR_FAILED);
}

TEST_F(ARefusedRegistration, HarmsNoOtherInstance) {
    host().failNextRegistration(PP_ERROR_FAILED);
    const PP_Instance first = embedWith(support::kPartner);
    const PP_Instance second = embed();
    EXPECT_EQ(host().call(first, requestOf(kVersion)).status, CallResult::Status::NotHandled);
    EXPECT_EQ(replyTo(second, requestOf(kVersion)), versionReply());
}

TEST_F(ARefusedRegistration, EndsLikeAnyOtherInstance) {
    host().failNextRegistration(PP_ERROR_FAILED);
    const PP_Instance instance = embedWith(support::kPartner);
    EXPECT_THAT(destroyed(instance), ElementsAreArray(destruction()));
}

TEST_F(ASlowWorker, LosesNoFirstMessage) {
    constexpr int kInstances = 100;
    setAttachDelay(std::chrono::milliseconds(3));
    m_extension.grant(support::kNone);
    std::vector<PP_Instance> instances;
    for (int i = 0; i < kInstances; ++i) {
        const PP_Instance instance = host().embed();
        host().post(instance, requestOf("first of " + std::to_string(i)));
        instances.push_back(instance);
    }
    ASSERT_TRUE(host().waitForMessages(kInstances, std::chrono::seconds(60)));

    std::map<PP_Instance, std::vector<Value>> answers;
    for (const host::Message& message : host().takeMessages()) {
        answers[message.instance].push_back(message.value);
    }
    for (int i = 0; i < kInstances; ++i) {
        EXPECT_THAT(answers[instances[static_cast<std::size_t>(i)]],
                    ElementsAre(refusal("first of " + std::to_string(i))));
    }
    ASSERT_EQ(host().registrations().size(), static_cast<std::size_t>(kInstances));
    for (const host::Registration& registration : host().registrations()) {
        EXPECT_TRUE(registration.loopAttached) << "instance " << registration.instance;
    }
}

TEST_F(ASlowWorker, AnswersAFirstBlockingMessage) {
    setAttachDelay(std::chrono::milliseconds(20));
    m_extension.grant(support::kPartner);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(replyTo(host().embed(), requestOf(kVersion)), versionReply());
    }
}

TEST_F(AnInstance, HandlesAllItsMessagesOnOneThreadThatIsNotTheMainOne) {
    const PP_Instance instance = embedWith(support::kAll);
    m_recorder.clear();
    answersTo(instance, Value(1));
    replyTo(instance, requestOf(kVersion));
    answersTo(instance, requestOf(kLogin));
    replyTo(instance, Value(1));
    std::set<pid_t> threads;
    for (const Event& event : m_recorder.events()) threads.insert(event.threadId);
    EXPECT_EQ(threads.size(), 1U);
    EXPECT_EQ(threads.count(mainThread()), 0U);
}

TEST_F(AnInstance, HasAThreadThatNoOtherInstanceUses) {
    std::set<pid_t> threads;
    for (int i = 0; i < 3; ++i) {
        const PP_Instance instance = embedWith(support::kAll);
        m_recorder.clear();
        replyTo(instance, requestOf(kVersion));
        threads.insert(m_recorder.events().at(0).threadId);
    }
    EXPECT_EQ(threads.size(), 3U);
}

// A worker that waits inside the client library keeps nobody else waiting.
TEST_F(AnInstance, AnswersWhileAnotherOnesWorkerIsBusy) {
    const PP_Instance busy = embedWith(support::kPartner);
    const PP_Instance other = embed();
    support::Signal shown;
    m_recorder.setHook([&shown](const Event& event) {
        if (event.what == "sso_show") {
            EXPECT_TRUE(shown.wait());
        }
    });
    host().post(busy, json(R"({"command": "sso_plugin_show_login_page", "data": ""})"));
    EXPECT_TRUE(m_recorder.waitFor(1, [](const Event& event) { return event.what == "sso_show"; }));
    EXPECT_EQ(replyTo(other, requestOf(kVersion)), versionReply());
    EXPECT_EQ(answersTo(other, Value(7)).size(), 1U);
    EXPECT_EQ(sso_api_control_outstanding(), 0) << "the first one waits still";
    shown.give();
    EXPECT_TRUE(host().drain(busy));
    EXPECT_EQ(sso_api_control_outstanding(), 1);
    m_recorder.setHook(nullptr);
}

}  // namespace
}  // namespace protocol
