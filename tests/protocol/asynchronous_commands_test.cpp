// The commands that start an operation: what is checked, what the client library gets, and what is
// answered at once.

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <set>

#include "asynchronous_commands.h"
#include "free_watch.h"
#include "request_texts.h"

namespace protocol {
namespace {

using AnAsynchronousCommand = AsynchronousTest;
using ACheckedKey = AsynchronousTest;
using AKeyThatIsOnlyRead = AsynchronousTest;
using AnOperationThatIsNotStarted = AsynchronousTest;

/// Each key of each command.
struct Member {
    const AsynchronousCommand& command;
    std::size_t index;

    const Key& key() const { return command.keys[index]; }
    std::string name() const { return std::string(command.name) + " " + key().name; }
};

std::vector<Member> members() {
    std::vector<Member> all;
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        for (std::size_t i = 0; i < command.keys.size(); ++i) all.push_back({command, i});
    }
    return all;
}

std::vector<Member> checkedMembers() {
    std::vector<Member> checked;
    for (const Member& member : members()) {
        if (member.key().refusal != nullptr) checked.push_back(member);
    }
    return checked;
}

std::set<std::string> allKeys() {
    std::set<std::string> keys;
    for (const Member& member : members()) keys.insert(member.key().name);
    return keys;
}

/// The command's request, but with no text under one key.
std::vector<Value> requestsWithout(const AsynchronousCommand& command, const std::string& key) {
    Value::Dictionary rest = requestFor(command);
    rest.erase(key);
    std::vector<Value> requests = {rest};
    for (const std::string& other :
         {changed(key, &std::toupper), changed(key, &std::tolower), key + " "}) {
        if (other == key) continue;
        Value::Dictionary request = rest;
        request[other] = "text";
        requests.emplace_back(request);
    }
    for (const Value& value : noTexts()) {
        Value::Dictionary request = rest;
        request[key] = value;
        requests.emplace_back(request);
    }
    return requests;
}

TEST_F(AnAsynchronousCommand, ReachesTheClientLibrary) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        m_recorder.clear();
        EXPECT_THAT(answersTo(instance, requestFor(command)), IsEmpty());
        const auto calls = m_recorder.libraryCalls();
        ASSERT_EQ(calls.size(), 1U);
        EXPECT_EQ(calls[0].function, command.function);
        EXPECT_EQ(calls[0].window, nullptr);
        EXPECT_EQ(calls[0].flags, 0);
        EXPECT_EQ(calls[0].texts, textsOf(command));
        EXPECT_EQ(sso_api_control_outstanding(), 1);
        ASSERT_EQ(finish(0, {1, 2, "three"}), SSO_OK);
        EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(command, {1, 2, "three"})));
    }
}

TEST_F(AnAsynchronousCommand, HasACallbackOfItsOwn) {
    const PP_Instance one = embedWith(support::kPartner);
    const PP_Instance other = embed();
    std::set<void (*)()> callbacks;
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        const auto callback = start(one, command).callback;
        EXPECT_NE(callback, nullptr);
        EXPECT_TRUE(callbacks.insert(callback).second);
        EXPECT_EQ(start(one, command).callback, callback);
        EXPECT_EQ(start(other, command).callback, callback);
    }
}

TEST_F(AnAsynchronousCommand, NamesItsInstanceToTheLibrary) {
    const PP_Instance one = embedWith(support::kPartner);
    const PP_Instance other = embed();
    std::set<void*> ones;
    std::set<void*> others;
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        ones.insert(start(one, command).userData);
        others.insert(start(other, command).userData);
    }
    EXPECT_EQ(ones.size(), 1U);
    EXPECT_EQ(others.size(), 1U);
    EXPECT_NE(ones, others);
    EXPECT_EQ(ones.count(nullptr) + others.count(nullptr), 0U);
}

TEST_F(AnAsynchronousCommand, IsStartedOnTheWorker) {
    const PP_Instance instance = embedWith(support::kPartner);
    m_recorder.clear();
    replyTo(instance, requestOf(kVersion));
    const pid_t worker = m_recorder.events().at(0).threadId;
    EXPECT_NE(worker, mainThread());
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        m_recorder.clear();
        EXPECT_EQ(start(instance, command).threadId, worker);
        EXPECT_EQ(eventsOn(worker, m_recorder.events()).size(), m_recorder.events().size());
    }
}

TEST_F(AnAsynchronousCommand, LogsUntilItIsStarted) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        m_recorder.clear();
        start(instance, command);
        EXPECT_THAT(m_recorder.events(), ElementsAreArray(started(command)));
    }
}

TEST_F(AnAsynchronousCommand, HandsEachTextOnAsItIs) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const Member& member : members()) {
        for (const RequestText& text : requestTexts()) {
            SCOPED_TRACE(member.name() + " " + support::visible(text.sent.substr(0, 60)));
            Value::Dictionary request = requestFor(member.command);
            request[member.key().name] = text.sent;
            std::vector<std::string> received = textsOf(member.command);
            received[member.index] = text.received;
            m_recorder.clear();
            EXPECT_THAT(answersTo(instance, request), IsEmpty());
            const auto calls = m_recorder.libraryCalls();
            ASSERT_EQ(calls.size(), 1U);
            EXPECT_EQ(calls[0].texts, received);
            ASSERT_EQ(finish(0, {4, 4, "4"}), SSO_OK);
            EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(member.command, {4, 4, "4"})));
        }
    }
}

TEST_F(AnAsynchronousCommand, IgnoresWhatElseIsInItsRequest) {
    const PP_Instance instance = embedWith(support::kPartner);
    const std::vector<Value> others = {"other text", "", 7, Value::Array{}, Value()};
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        for (const Value& other : others) {
            SCOPED_TRACE(command.name + (" " + ::testing::PrintToString(other)));
            Value::Dictionary request = requestFor(command);
            std::set<std::string> keys = allKeys();
            for (const char* key : {"", "status", "state", "token", "result", "PartnerAccountInfo",
                                    "errorName", "errorMessage", "page", "request", "DATA"}) {
                keys.insert(key);
            }
            for (const std::string& key : keys) request.emplace(key, other);
            m_recorder.clear();
            EXPECT_THAT(answersTo(instance, request), IsEmpty());
            const auto calls = m_recorder.libraryCalls();
            ASSERT_EQ(calls.size(), 1U);
            EXPECT_EQ(calls[0].texts, textsOf(command));
            ASSERT_EQ(finish(0, {5, 6, "7"}), SSO_OK);
            EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(command, {5, 6, "7"})));
        }
    }
}

TEST_F(AnAsynchronousCommand, IsStartedWhateverTheLibraryReturnsButOneValue) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const int result : {0, -2, -3, 7, 1, INT_MIN, INT_MAX}) {
        sso_api_control_set_start_result(result);
        for (const AsynchronousCommand& command : kAsynchronousCommands) {
            SCOPED_TRACE(command.name + (" " + std::to_string(result)));
            m_recorder.clear();
            EXPECT_THAT(answersTo(instance, requestFor(command)), IsEmpty());
            EXPECT_THAT(m_recorder.events(), ElementsAreArray(started(command)));
            ASSERT_EQ(sso_api_control_outstanding(), 1);
            ASSERT_EQ(finish(0, {2, 3, "4"}), SSO_OK);
            EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(command, {2, 3, "4"})));
        }
    }
}

TEST_F(AnOperationThatIsNotStarted, IsAnsweredAtOnce) {
    const PP_Instance instance = embedWith(support::kPartner);
    sso_api_control_set_start_result(-1);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        m_recorder.clear();
        EXPECT_EQ(answerTo(instance, requestFor(command)),
                  errorAnswer(command.name, -1, "error", command.notStarted));
        EXPECT_THAT(m_recorder.events(), ElementsAreArray(notStarted(command)));
        EXPECT_EQ(sso_api_control_outstanding(), 0);
        EXPECT_EQ(m_recorder.libraryCalls().at(0).texts, textsOf(command));
    }
}

TEST_F(AnOperationThatIsNotStarted, CanBeStartedTheNextTime) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        sso_api_control_set_start_result(-1);
        EXPECT_EQ(answersTo(instance, requestFor(command)).size(), 1U);
        sso_api_control_set_start_result(0);
        EXPECT_THAT(answersTo(instance, requestFor(command)), IsEmpty());
        ASSERT_EQ(finish(0, {8, 8, "8"}), SSO_OK);
        EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(command, {8, 8, "8"})));
    }
}

TEST_F(ACheckedKey, HasToBeAText) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const Member& member : checkedMembers()) {
        const AsynchronousCommand& command = member.command;
        for (const Value& request : requestsWithout(command, member.key().name)) {
            SCOPED_TRACE(member.name() + " " + ::testing::PrintToString(request));
            m_recorder.clear();
            EXPECT_EQ(answerTo(instance, request),
                      errorAnswer(command.name, -1, "paramInvaild", member.key().refusal));
            EXPECT_THAT(m_recorder.events(),
                        ElementsAreArray(
                            sequence({admitted(command), response(command.name, -1, "paramInvaild",
                                                                  member.key().refusal)})));
        }
    }
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(ACheckedKey, IsAnsweredForOnlyWhenThoseBeforeItAreTexts) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const Member& first : checkedMembers()) {
        for (std::size_t next = first.index + 1; next < first.command.keys.size(); ++next) {
            for (const Value& value : noTexts()) {
                SCOPED_TRACE(first.name() + " " + first.command.keys[next].name);
                Value::Dictionary request = requestFor(first.command);
                request.erase(first.key().name);
                request[first.command.keys[next].name] = value;
                EXPECT_THAT(answersTo(instance, request),
                            ElementsAre(errorAnswer(first.command.name, -1, "paramInvaild",
                                                    first.key().refusal)));
                request[first.key().name] = value;
                request.erase(first.command.keys[next].name);
                EXPECT_THAT(answersTo(instance, request),
                            ElementsAre(errorAnswer(first.command.name, -1, "paramInvaild",
                                                    first.key().refusal)));
            }
        }
    }
    EXPECT_EQ(sso_api_control_outstanding(), 0);
}

TEST_F(AKeyThatIsOnlyRead, IsAnEmptyTextUnlessItIsOne) {
    const PP_Instance instance = embedWith(support::kPartner);
    std::vector<std::string> names;
    for (const Member& member : members()) {
        if (member.key().refusal != nullptr) continue;
        names.push_back(member.name());
        std::vector<std::string> received = textsOf(member.command);
        received[member.index] = "";
        for (const Value& request : requestsWithout(member.command, member.key().name)) {
            SCOPED_TRACE(member.name() + " " + ::testing::PrintToString(request));
            m_recorder.clear();
            EXPECT_THAT(answersTo(instance, request), IsEmpty());
            EXPECT_THAT(m_recorder.events(), ElementsAreArray(started(member.command)));
            EXPECT_EQ(m_recorder.libraryCalls().at(0).texts, received);
            ASSERT_EQ(finish(0, {9, 9, "9"}), SSO_OK);
            EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(member.command, {9, 9, "9"})));
        }
    }
    EXPECT_THAT(names, ElementsAre("sso_plugin_getPartnerAccountMappingList cpName",
                                   "sso_plugin_removePartnerAccountMappingInfo cpUID"));
}

// The client library copies what it keeps. A secret, above all, is gone before anything else happens.
TEST_F(AnAsynchronousCommand, ReleasesTheTextsOfTheRequestRightAfterTheCall) {
    const PP_Instance instance = embedWith(support::kPartner);
    m_recorder.setHook([this](const Event& event) {
        if (event.supplier != Supplier::Library) return;
        const support::LibraryCall call = m_recorder.libraryCalls().back();
        for (const void* block : call.textBlocks) {
            support::watchFree(
                block,
                [](const void*, void* recorder) {
                    static_cast<support::Recorder*>(recorder)->record(Supplier::Memory,
                                                                      "a text of the request");
                },
                &m_recorder);
        }
    });
    for (const int result : {-1, 0}) {
        sso_api_control_set_start_result(result);
        for (const AsynchronousCommand& command : kAsynchronousCommands) {
            SCOPED_TRACE(std::string(command.name) + " " + std::to_string(result));
            if (command.keys.empty()) continue;  // its one text is a literal
            Value::Dictionary request{{"command", command.name}};
            // Long, so that none of them is kept inside its object.
            for (const Key& key : command.keys) request[key.name] = std::string(100, 'x');
            m_recorder.clear();
            host().post(instance, request);
            ASSERT_TRUE(host().drain(instance));
            const std::vector<Event> events = m_recorder.events();
            const auto call = std::find_if(events.begin(), events.end(), [](const Event& event) {
                return event.supplier == Supplier::Library;
            });
            ASSERT_NE(call, events.end());
            ASSERT_GT(static_cast<std::size_t>(events.end() - call), command.keys.size());
            for (std::size_t i = 1; i <= command.keys.size(); ++i) {
                EXPECT_EQ(call[static_cast<std::ptrdiff_t>(i)].what, "a text of the request");
            }
        }
    }
    m_recorder.setHook(nullptr);
}

}  // namespace
}  // namespace protocol
