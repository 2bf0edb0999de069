// Call tracing of the plug-in: what its scopes tell the tracing service, and that they change nothing.

#include <gmock/gmock.h>

#include <mutex>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "asynchronous_commands.h"
#include "ht_control.h"
#include "trace/location.h"

namespace protocol {
namespace {

/// A signature in g++'s spelling, whatever compiler the module is from: others write "char *".
std::string spelled(const std::string& signature) {
    static const std::regex blank(" ([*&])");
    return std::regex_replace(signature, blank, "$1");
}

/// A traced call, as it ended.
struct Call {
    std::string function;  ///< its signature
    int line;              ///< of its place
    std::vector<std::string> texts;
    std::size_t depth;

    bool operator==(const Call& other) const {
        return function == other.function && line == other.line && texts == other.texts &&
               depth == other.depth;
    }
};

void PrintTo(const Call& call, std::ostream* stream) {
    *stream << call.function << ':' << call.line << " at " << call.depth << ' '
            << ::testing::PrintToString(call.texts);
}

const std::string kHandler = "CPluginSSOMessageHandler::";
const Call kBlocking{
    "virtual pp::Var " + kHandler + "HandleBlockingMessageImpl(pp::InstanceHandle, const pp::Var&)",
    285,
    {"HandleBlockingMessageImpl"},
    0};
const Call kGate{
    "bool " + kHandler + "m_CheckPrivilege(std::string)", 584, {"m_CheckPrivilege"}, 1};
const Call kResponse{"void " + kHandler +
                         "m_ResponseData(std::string, int, std::string, std::string, std::string*, "
                         "pp::Var*, int)",
                     57,
                     {"m_ResponseData"},
                     1};

Call posted(const std::vector<std::string>& furtherTexts = {}) {
    Call call{"virtual void " + kHandler + "HandleMessageImpl(pp::InstanceHandle, const pp::Var&)",
              108,
              {"HandleMessageImpl"},
              0};
    call.texts.insert(call.texts.end(), furtherTexts.begin(), furtherTexts.end());
    return call;
}

std::string parametersOf(Ending ending) {
    switch (ending) {
        case Ending::State:
            return "(void*, int, sso_popup_state_e)";
        case Ending::Text:
            return "(void*, int, char*)";
        case Ending::Result:
            return "(void*, int)";
    }
    return "";
}

Call callbackOf(const AsynchronousCommand& command) {
    return {"static int " + kHandler + command.callback + parametersOf(command.ending),
            command.scopeLine,
            {command.callback},
            0};
}

std::vector<std::string> textsAt(const AsynchronousCommand& command, int line) {
    if (line == 0) return {};
    return {std::string(command.callback) + " done"};
}

class TracingTest : public AsynchronousTest {
  protected:
    TracingTest() {
        const HtItemOrders orders{1, 0};  // texts in the order in which they are stored
        ht_control_set_item_orders(&orders);
        ht_control_set_call_observer(&TracingTest::ended, this);
        ht_control_set_enabled(1);
    }
    ~TracingTest() override {
        ht_control_set_enabled(0);
        ht_control_set_call_observer(nullptr, nullptr);
        const HtItemOrders orders{2, 0};
        ht_control_set_item_orders(&orders);
    }

    /// The calls that have ended since the last time, in the order of their ends.
    std::vector<Call> takeCalls() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_calls, {});
    }

    static void ended(const HtCall* call, void* user) {
        auto& self = *static_cast<TracingTest*>(user);
        const std::lock_guard lock(self.m_mutex);
        self.m_calls.push_back({spelled(call->location->function),
                                call->location->line,
                                {call->texts, call->texts + call->textCount},
                                call->depth});
    }

  private:
    std::mutex m_mutex;
    std::vector<Call> m_calls;
};

using TheModule = TracingTest;
using ATracedHandler = TracingTest;
using Tracing = TracingTest;

TEST_F(TheModule, RegistersOnceWhenLoadedAndTakesItBackWhenUnloaded) {
    using Registrations = std::vector<std::pair<int*, bool>>;
    Registrations registrations;
    ht_control_set_registration_observer(
        [](int* enabled, bool registered, void* user) {
            static_cast<Registrations*>(user)->emplace_back(enabled, registered);
        },
        &registrations);
    host();
    ASSERT_EQ(registrations.size(), 1U);
    int* const cell = registrations[0].first;
    EXPECT_TRUE(registrations[0].second);
    EXPECT_EQ(*cell, 1) << "the service switches it";
    ht_control_set_enabled(0);
    EXPECT_EQ(*cell, 0);
    embedWith(support::kAll);
    EXPECT_EQ(registrations.size(), 1U);
    host().unload();
    EXPECT_EQ(registrations, (Registrations{{cell, true}, {cell, false}}));
    ht_control_set_registration_observer(nullptr, nullptr);
}

TEST_F(ATracedHandler, TellsOfItsLife) {
    const PP_Instance instance = embedWith(support::kAll);
    EXPECT_THAT(takeCalls(), ElementsAre(Call{kHandler + "CPluginSSOMessageHandler(pp::Instance*)",
                                              30,
                                              {"CPluginSSOMessageHandler"},
                                              0}));
    host().unregister(instance);
    ASSERT_TRUE(host().waitForMessages(1, std::chrono::seconds(30)));
    ASSERT_TRUE(host().destroy(instance));
    EXPECT_THAT(takeCalls(),
                ElementsAre(Call{"virtual void " + kHandler + "WasUnregistered(pp::InstanceHandle)",
                                 386,
                                 {"WasUnregistered"},
                                 0},
                            Call{"virtual " + kHandler + "~CPluginSSOMessageHandler()",
                                 41,
                                 {"~CPluginSSOMessageHandler"},
                                 0}));
}

TEST_F(ATracedHandler, TellsOfEachRequestAndWhatItTakes) {
    const PP_Instance instance = embedWith(support::kAll);
    takeCalls();
    replyTo(instance, requestOf(kVersion));
    EXPECT_THAT(takeCalls(), ElementsAre(kGate, kBlocking));
    replyTo(instance, Value(7));
    EXPECT_THAT(takeCalls(), ElementsAre(kBlocking));
    answersTo(instance, Value(7));
    EXPECT_THAT(takeCalls(), ElementsAre(kResponse, posted()));
    answersTo(instance, requestOf(kVersion));
    EXPECT_THAT(takeCalls(), ElementsAre(kGate, kResponse, posted()));
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        start(instance, command);
        EXPECT_THAT(takeCalls(), ElementsAre(kGate, posted(textsAt(command, command.startedLine))));
        ASSERT_EQ(finish(0, {0, 0, "text"}), SSO_OK);
        EXPECT_THAT(takeCalls(), ElementsAre(kResponse, callbackOf(command)));
    }
    sso_api_control_set_start_result(-1);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        answersTo(instance, requestFor(command));
        EXPECT_THAT(takeCalls(), ElementsAre(kGate, kResponse,
                                             posted(textsAt(command, command.notStartedLine))));
    }
}

TEST_F(ATracedHandler, TellsOfACallbackWithoutAHandler) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        const support::LibraryCall call = start(instance, command);
        takeCalls();
        EXPECT_EQ(callBack(command, call, nullptr, {0, 0, "text"}), -1);
        EXPECT_THAT(takeCalls(), ElementsAre(callbackOf(command)));
    }
}

TEST_F(ATracedHandler, TellsNothingWhileItIsSwitchedOff) {
    const PP_Instance instance = embedWith(support::kAll);
    takeCalls();
    ht_control_set_enabled(0);
    replyTo(instance, requestOf(kVersion));
    EXPECT_THAT(takeCalls(), IsEmpty());
    ht_control_set_enabled(1);
    replyTo(instance, requestOf(kVersion));
    EXPECT_THAT(takeCalls(), ElementsAre(kGate, kBlocking));
}

// A destructor may not throw: what cannot be stored is missing in the trace, and nothing else is.
TEST_F(ATracedHandler, IsDestroyedToItsEndWhenItsNameCannotBeStored) {
    const PP_Instance instance = embedWith(support::kAll);
    takeCalls();
    std::vector<std::string> steps;
    ht_control_set_step_observer(
        [](const char* step, const TSCodeLocation*, void* user) {
            static_cast<std::vector<std::string>*>(user)->emplace_back(step);
        },
        &steps);
    ht_control_set_failing_write(1);
    EXPECT_THAT(destroyed(instance), ElementsAreArray(destruction()));
    ht_control_set_failing_write(0);
    ht_control_set_step_observer(nullptr, nullptr);
    EXPECT_THAT(steps, ElementsAre("container", "handler", "~handler", "~container"));
    EXPECT_THAT(
        takeCalls(),
        ElementsAre(Call{"virtual " + kHandler + "~CPluginSSOMessageHandler()", 41, {}, 0}));
}

/// What a page and the suppliers see of a visit that uses everything.
struct Visit {
    std::vector<std::string> calls;  ///< of all suppliers, in order
    std::vector<Value> answers;
};

TEST_F(Tracing, ChangesNothingOfWhatThePlugInDoes) {
    const PP_Instance instance = embedWith(support::kAll);
    const auto visit = [&] {
        Visit seen;
        m_recorder.clear();
        sso_api_control_set_start_result(0);
        for (const char* name :
             {"sso_plugin_getVersion", "sso_plugin_getSSOState", "sso_plugin_getGuid",
              "sso_plugin_getLoginStatus", "sso_plugin_getLoginUid",
              "sso_plugin_getTermsAgreementState", "sso_plugin_createAccount", "no command"}) {
            seen.answers.push_back(replyTo(instance, requestOf(name)));
        }
        for (const AsynchronousCommand& command : kAsynchronousCommands) {
            start(instance, command);
            finish(0, {0, 1, "text"});
            if (command.keys.empty()) continue;
            host().post(instance, requestOf(command.name));  // refused
            EXPECT_TRUE(host().drain(instance));  // one after the other, so that visits compare
        }
        sso_api_control_set_start_result(-1);
        for (const AsynchronousCommand& command : kAsynchronousCommands) {
            host().post(instance, requestFor(command));
        }
        EXPECT_TRUE(host().drain(instance));
        for (const Value& answer : takeAnswers()) seen.answers.push_back(answer);
        for (const Event& event : m_recorder.events()) {
            seen.calls.push_back(event.tag + ' ' + std::to_string(event.buffer) + ' ' +
                                 std::to_string(event.priority) + ' ' + event.format + ' ' +
                                 event.what);
        }
        return seen;
    };
    ht_control_set_enabled(0);
    const Visit without = visit();
    EXPECT_GT(without.calls.size(), 200U);
    for (const unsigned flags : {0U, 1U, 2U, 3U}) {
        for (const int types : {0, 1}) {
            SCOPED_TRACE(::testing::Message() << flags << ' ' << types);
            const HtItemOrders orders{flags, types};
            ht_control_set_item_orders(&orders);
            ht_control_set_enabled(1);
            takeCalls();
            const Visit with = visit();
            EXPECT_GT(takeCalls().size(), 30U);
            EXPECT_EQ(with.answers, without.answers);
            EXPECT_EQ(with.calls, without.calls);
        }
    }
}

}  // namespace
}  // namespace protocol
