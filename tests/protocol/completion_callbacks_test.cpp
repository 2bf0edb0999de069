// The ends of operations: what the client library tells, and what the page gets of it.

#include <gmock/gmock.h>

#include <pthread.h>

#include <climits>
#include <cstring>
#include <functional>
#include <map>
#include <thread>

#include "asynchronous_commands.h"
#include "free_watch.h"
#include "host/var_table.h"
#include "thread_tools.h"

namespace protocol {
namespace {

using AnEndedOperation = AsynchronousTest;
using ACallback = AsynchronousTest;
using ACallbackWithoutUserData = AsynchronousTest;

struct TextRow {
    const char* title;
    std::string given;
    Value answered;
};

const std::string kLongToken(1 << 20, 't');

const std::vector<TextRow> kTextRows = {
    {"an empty text", "", ""},
    {"a blank", " ", " "},
    {"a plain text", "token-1", "token-1"},
    {"a format", "%s%n%d", "%s%n%d"},
    {"control characters", "\t\n\x01\x7f\033[0;31m", "\t\n\x01\x7f\033[0;31m"},
    {"a text that is not ASCII", "\xe6\x97\xa5 \xc3\xbc \xf0\x9f\x98\x80",
     "\xe6\x97\xa5 \xc3\xbc \xf0\x9f\x98\x80"},
    {"a list", R"([{"appID":"a","cpName":"b","cpUID":"c"}])",
     R"([{"appID":"a","cpName":"b","cpUID":"c"}])"},
    {"what was to be a list", R"([{"appID": ]})", R"([{"appID": ]})"},
    {"a mebibyte", kLongToken, kLongToken},
};

/// The commands whose end is of that kind.
std::vector<AsynchronousCommand> commandsOf(Ending ending) {
    std::vector<AsynchronousCommand> commands;
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        if (command.ending == ending) commands.push_back(command);
    }
    return commands;
}

EventMatchers withoutAHandler(const AsynchronousCommand& command) {
    return sequence({scope(command.callback, command.scopeLine),
                     {logged(Kind::Error, handlerPlace(command.callback, command.nullLine),
                             "PluginSSO is NULL")}});
}

Value answerWith(const AsynchronousCommand& command, const char* key, const Value& value) {
    return Value::Dictionary{{"command", command.name}, {"status", 0}, {key, value}};
}

TEST_F(AnEndedOperation, OfAPopupAnswersWithItsState) {
    const PP_Instance instance = embedWith(support::kPartner);
    std::vector<std::string> names;
    for (const AsynchronousCommand& command : commandsOf(Ending::State)) {
        names.push_back(command.name);
        for (const int state : {0, 1, 2, 3, 4, 77, -1, -2, INT_MAX, INT_MIN}) {
            SCOPED_TRACE(command.name + (" " + std::to_string(state)));
            start(instance, command);
            ASSERT_EQ(finish(0, {-9, state, "text"}), SSO_OK);
            EXPECT_THAT(takeAnswers(), ElementsAre(answerWith(command, "state", state)));
        }
    }
    EXPECT_THAT(names,
                ::testing::IsSupersetOf({"sso_plugin_show_login_page", "sso_plugin_createAccount",
                                         "sso_plugin_showTermsPage"}));
}

TEST_F(AnEndedOperation, WithATextAnswersWithIt) {
    const PP_Instance instance = embedWith(support::kPartner);
    std::set<std::string> keys;
    for (const AsynchronousCommand& command : commandsOf(Ending::Text)) {
        SCOPED_TRACE(command.name);
        keys.insert(command.valueKey);
        for (const TextRow& row : kTextRows) {
            SCOPED_TRACE(row.title);
            start(instance, command);
            ASSERT_EQ(finish(0, {0, 8, row.given.c_str()}), SSO_OK);
            EXPECT_THAT(takeAnswers(),
                        ElementsAre(answerWith(command, command.valueKey, row.answered)));
        }
        start(instance, command);
        ASSERT_EQ(finish(0, {0, 8, nullptr}), SSO_OK);
        EXPECT_THAT(takeAnswers(), ElementsAre(answerWith(command, command.valueKey, "")));
    }
    EXPECT_THAT(keys, ::testing::IsSupersetOf({"token", "PartnerAccountInfo"}));
}

// The browser makes no text of such bytes but null, and null is not sent.
TEST_F(AnEndedOperation, WithIllFormedTextAnswersWithoutIt) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : commandsOf(Ending::Text)) {
        SCOPED_TRACE(command.name);
        start(instance, command);
        m_recorder.clear();
        ASSERT_EQ(finish(0, {0, 0, "ill-formed \xff text"}), SSO_OK);
        EXPECT_THAT(
            takeAnswers(),
            ElementsAre(Value(Value::Dictionary{{"command", command.name}, {"status", 0}})));
        EXPECT_THAT(m_recorder.events(), ElementsAreArray(answered(command)));
    }
}

TEST_F(AnEndedOperation, OfAMappingAnswersWithTheResult) {
    const PP_Instance instance = embedWith(support::kPartner);
    std::vector<std::string> names;
    for (const AsynchronousCommand& command : commandsOf(Ending::Result)) {
        names.push_back(command.name);
        for (const int result : {0, 1, -1, -2, -5, 7, 18, INT_MAX, INT_MIN}) {
            SCOPED_TRACE(command.name + (" " + std::to_string(result)));
            start(instance, command);
            ASSERT_EQ(finish(0, {result, 8, "text"}), SSO_OK);
            EXPECT_THAT(takeAnswers(), ElementsAre(answerWith(command, "result", result)));
        }
    }
    EXPECT_THAT(names, ::testing::IsSupersetOf({"sso_plugin_addPartnerAccountMappingInfo",
                                                "sso_plugin_removePartnerAccountMappingInfo"}));
}

// Also of the two whose answer tells the result: it changes nothing else.
TEST_F(AnEndedOperation, DoesTheSameWhateverTheResult) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        for (const int result : {0, -1, 1, -3, -5, 7, INT_MAX, INT_MIN}) {
            SCOPED_TRACE(command.name + (" " + std::to_string(result)));
            start(instance, command);
            m_recorder.clear();
            int returned = -7;
            ASSERT_EQ(finish(0, {result, 2, "text"}, &returned), SSO_OK);
            EXPECT_EQ(returned, 0);
            EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(command, {result, 2, "text"})));
            EXPECT_THAT(m_recorder.events(), ElementsAreArray(answered(command)));
        }
    }
}

TEST_F(AnEndedOperation, IsAnsweredOnceAndNeverAgain) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        start(instance, command);
        ASSERT_EQ(finish(0, {1, 1, "1"}), SSO_OK);
        EXPECT_EQ(finish(0, {1, 1, "1"}), SSO_ERROR_INVALID);
        EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(command, {1, 1, "1"})));
    }
    host().destroy(instance);
    EXPECT_THAT(takeAnswers(), IsEmpty());
}

TEST_F(AnEndedOperation, IsAnsweredOnTheThreadThatEndsIt) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        start(instance, command);
        m_recorder.clear();
        pid_t user = 0;
        std::thread([&] {
            pthread_setname_np(pthread_self(), "some-user");
            user = support::thisThreadId();
            EXPECT_EQ(finish(0, {3, 3, "3"}), SSO_OK);
        }).join();
        const auto messages = host().takeMessages();
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(messages[0].value, endAnswer(command, {3, 3, "3"}));
        EXPECT_EQ(messages[0].threadName, "some-user");
        EXPECT_EQ(messages[0].threadId, user);
        EXPECT_THAT(eventsOn(user, m_recorder.events()), ElementsAreArray(answered(command)));
    }
}

// Nobody is signed in: the requests tell so.
TEST_F(AnEndedOperation, IsAnsweredOnTheLibrarysOwnThreadWhenItEndsByItself) {
    support::endPopupsAfter(0, "closed");
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        host().post(instance, requestFor(command));
        ASSERT_TRUE(host().waitForMessages(1, std::chrono::seconds(30)));
        EXPECT_TRUE(host().drain(instance));
        const auto messages = host().takeMessages();
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(messages[0].value,
                  endAnswer(command, {SSO_ERROR_NO_ACCOUNT, SSO_POPUP_CLOSED, nullptr}));
        EXPECT_EQ(messages[0].threadName, "sso-api");
    }
}

TEST_F(ACallback, MayComeBeforeTheStartReturns) {
    const PP_Instance instance = embedWith(support::kPartner);
    sso_api_control_set_start_result(-1);  // so that the library does not call a second time
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        m_recorder.setHook([&](const Event& event) {
            if (event.what != command.function) return;
            const auto call = m_recorder.libraryCalls().back();
            EXPECT_EQ(callBack(command, call, call.userData, {0, 1, "early"}), 0);
        });
        m_recorder.clear();
        EXPECT_THAT(answersTo(instance, requestFor(command)),
                    ElementsAre(endAnswer(command, {0, 1, "early"}),
                                errorAnswer(command.name, -1, "error", command.notStarted)));
        m_recorder.setHook(nullptr);
        EXPECT_THAT(m_recorder.events(), ElementsAreArray(notStarted(command, answered(command))));
    }
}

TEST_F(ACallback, AnswersEachTimeItIsCalled) {
    const PP_Instance instance = embedWith(support::kPartner);
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        const auto call = start(instance, command);
        for (const int number : {5, 6, 5}) {
            const std::string text = std::to_string(number);
            EXPECT_EQ(callBack(command, call, call.userData, {number, number, text.c_str()}), 0);
        }
        EXPECT_THAT(takeAnswers(),
                    ElementsAre(endAnswer(command, {5, 5, "5"}), endAnswer(command, {6, 6, "6"}),
                                endAnswer(command, {5, 5, "5"})));
    }
}

TEST_F(ACallback, AnswersThePageThatItsUserDataNames) {
    const PP_Instance one = embedWith(support::kPartner);
    const PP_Instance other = embed();
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        const auto ones = start(one, command);
        const auto others = start(other, command);
        EXPECT_EQ(callBack(command, ones, others.userData, {1, 1, "1"}), 0);
        EXPECT_EQ(callBack(command, others, ones.userData, {2, 2, "2"}), 0);
        const auto messages = host().takeMessages();
        ASSERT_EQ(messages.size(), 2U);
        EXPECT_EQ(messages[0].instance, other);
        EXPECT_EQ(messages[0].value, endAnswer(command, {1, 1, "1"}));
        EXPECT_EQ(messages[1].instance, one);
        EXPECT_EQ(messages[1].value, endAnswer(command, {2, 2, "2"}));
    }
}

TEST_F(ACallback, LeavesTheLibraryItsText) {
    const PP_Instance instance = embedWith(support::kPartner);
    const std::string text = "a text that is longer than a string keeps inside itself";
    for (const AsynchronousCommand& command : commandsOf(Ending::Text)) {
        SCOPED_TRACE(command.name);
        const auto call = start(instance, command);
        char* buffer = strdup(text.c_str());
        support::watchFree(
            buffer, [](const void*, void*) {}, nullptr);
        EXPECT_EQ(call.textCallback()(call.userData, 0, buffer), 0);
        ASSERT_EQ(support::watchedBlocks(), 1U) << "the text is not the plug-in's to release";
        EXPECT_EQ(buffer, text);
        std::memset(buffer, 'z', text.size());
        free(buffer);
        EXPECT_EQ(support::watchedBlocks(), 0U);
        EXPECT_THAT(takeAnswers(), ElementsAre(endAnswer(command, {0, 0, text.c_str()})));
    }
}

// Inside sso_give_proxy the handler has no instance any more.
TEST_F(ACallback, IsNoFailureToTheLibraryWhenItsAnswerIsDropped) {
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        const PP_Instance instance = embedWith(support::kPartner);
        const auto call = start(instance, command);
        int returned = -7;
        m_recorder.setHook([&](const Event& event) {
            if (event.what == "sso_give_proxy") {
                returned = callBack(command, call, call.userData, {0, 1, "late"});
            }
        });
        // The callback of the hook, and that of the operation.
        EXPECT_THAT(destroyed(instance),
                    ElementsAreArray(destruction(sequence({dropped(command), dropped(command)}))));
        m_recorder.setHook(nullptr);
        EXPECT_EQ(returned, 0);
        EXPECT_THAT(takeAnswers(), IsEmpty());
    }
}

TEST_F(ACallbackWithoutUserData, SaysSoInRedAndFails) {
    const PP_Instance instance = embedWith(support::kPartner);
    const std::vector<SsoApiEnd> ends = {{0, 0, "text"}, {-1, 5, nullptr}, {7, -1, ""}};
    for (const AsynchronousCommand& command : kAsynchronousCommands) {
        SCOPED_TRACE(command.name);
        const auto call = start(instance, command);
        for (const SsoApiEnd& end : ends) {
            SCOPED_TRACE(end.result);
            m_recorder.clear();
            host::VarTable::instance().recordOperations(true);
            EXPECT_EQ(callBack(command, call, nullptr, end), -1);
            EXPECT_TRUE(host::VarTable::instance().operations().empty());
            host::VarTable::instance().recordOperations(false);
            EXPECT_THAT(m_recorder.events(), ElementsAreArray(withoutAHandler(command)));
        }
    }
    EXPECT_TRUE(host().drain(instance));
    EXPECT_THAT(takeAnswers(), IsEmpty());
}

}  // namespace
}  // namespace protocol
