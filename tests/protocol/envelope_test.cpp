// What is looked at before a command is: each refusal's answer and every line that it writes.

#include <gmock/gmock.h>

#include "protocol_data.h"
#include "protocol_test.h"

namespace protocol {
namespace {

using AMessageThatIsNoRequest = ProtocolTest;
using ARequestWithoutACommand = ProtocolTest;
using ARefusedCommand = ProtocolTest;
using ACommandOfTheOtherPath = ProtocolTest;

std::vector<Value> valuesOfEveryType() {
    return {Value(),
            Value::Null{},
            true,
            false,
            7,
            -1,
            1.5,
            "a text",
            "",
            Value::Array{},
            Value::Array{1, "x"},
            Value::Buffer{},
            Value::Buffer{1, 2}};
}

TEST_F(AMessageThatIsNoRequest, IsAnsweredWhateverItsType) {
    const PP_Instance instance = embedWith(support::kAll);
    for (const Value& message : valuesOfEveryType()) {
        SCOPED_TRACE(::testing::PrintToString(message));
        EXPECT_EQ(answerTo(instance, message),
                  errorAnswer("", -1, "paramInvaild", "Incoming message is invalid"));
        EXPECT_EQ(replyTo(instance, message),
                  errorReply(26, "InvalidValuesError", "Incoming message is not dictionary"));
    }
}

TEST_F(AMessageThatIsNoRequest, LogsWhenItWasPosted) {
    const PP_Instance instance = embedWith(support::kAll);
    for (const Value& message : valuesOfEveryType()) {
        SCOPED_TRACE(::testing::PrintToString(message));
        m_recorder.clear();
        answersTo(instance, message);
        EXPECT_THAT(m_recorder.events(),
                    ElementsAreArray(sequence(
                        {postedStart(),
                         {logged(Kind::Error, postedPlace(117), "The incoming message is invalid")},
                         response("", -1, "paramInvaild", "Incoming message is invalid")})));
    }
}

TEST_F(AMessageThatIsNoRequest, LogsWhenItWasBlocking) {
    const PP_Instance instance = embedWith(support::kAll);
    for (const Value& message : valuesOfEveryType()) {
        SCOPED_TRACE(::testing::PrintToString(message));
        m_recorder.clear();
        replyTo(instance, message);
        EXPECT_THAT(m_recorder.events(),
                    ElementsAreArray(sequence({askedStart(),
                                               {logged(Kind::Error, askedPlace(291),
                                                       "The incoming message is invalid")}})));
    }
}

// The privileges do not matter yet: an application without any gets the same answers.
TEST_F(AMessageThatIsNoRequest, IsAnsweredAlikeWithoutPrivileges) {
    const PP_Instance instance = embedWith(support::kNone);
    EXPECT_EQ(answerTo(instance, Value(7)),
              errorAnswer("", -1, "paramInvaild", "Incoming message is invalid"));
    EXPECT_EQ(replyTo(instance, Value::Dictionary{}),
              errorReply(26, "InvalidValuesError", "Parameter command is invalid"));
}

std::vector<Value> requestsWithoutACommand() {
    std::vector<Value> requests = {Value::Dictionary{},
                                   json(R"({"data": "x"})"),
                                   json(R"({"Command": "sso_plugin_getVersion"})"),
                                   json(R"({"command ": "sso_plugin_getVersion"})"),
                                   json(R"({"command\u0000": "sso_plugin_getVersion"})"),
                                   json(R"({"": "sso_plugin_getVersion"})")};
    std::vector<Value> commands = valuesOfEveryType();
    commands.emplace_back(Value::Dictionary{});
    commands.push_back(requestOf("sso_plugin_getVersion"));
    commands.emplace_back("ill-formed \xff text");  // reaches the plug-in as null
    for (const Value& command : commands) {
        const bool good =
            command.isString() && command.asString().find('\xff') == std::string::npos;
        if (!good) requests.emplace_back(Value::Dictionary{{"command", command}});
    }
    return requests;
}

TEST_F(ARequestWithoutACommand, IsAnsweredWhateverIsInItsPlace) {
    const PP_Instance instance = embedWith(support::kAll);
    for (const Value& request : requestsWithoutACommand()) {
        SCOPED_TRACE(::testing::PrintToString(request));
        EXPECT_EQ(answerTo(instance, request),
                  errorAnswer("", -1, "commandInvaild", "Parameter command is invalid"));
        EXPECT_EQ(replyTo(instance, request),
                  errorReply(26, "InvalidValuesError", "Parameter command is invalid"));
    }
}

TEST_F(ARequestWithoutACommand, LogsWhenItWasPosted) {
    const PP_Instance instance = embedWith(support::kAll);
    for (const Value& request : requestsWithoutACommand()) {
        SCOPED_TRACE(::testing::PrintToString(request));
        m_recorder.clear();
        answersTo(instance, request);
        EXPECT_THAT(m_recorder.events(),
                    ElementsAreArray(sequence(
                        {postedStart(),
                         {logged(Kind::Error, postedPlace(124), "The incoming command is invalid")},
                         response("", -1, "commandInvaild", "Parameter command is invalid")})));
    }
}

TEST_F(ARequestWithoutACommand, LogsWhenItWasBlocking) {
    const PP_Instance instance = embedWith(support::kAll);
    for (const Value& request : requestsWithoutACommand()) {
        SCOPED_TRACE(::testing::PrintToString(request));
        m_recorder.clear();
        replyTo(instance, request);
        EXPECT_THAT(m_recorder.events(),
                    ElementsAreArray(sequence({askedStart(),
                                               {logged(Kind::Error, askedPlace(297),
                                                       "The incoming command is invalid")}})));
    }
}

TEST_F(ARefusedCommand, LogsWhenItWasPosted) {
    const PP_Instance instance = embedWith(support::kNone);
    for (const contract::Command& command : contract::protocol().commands) {
        SCOPED_TRACE(command.name);
        m_recorder.clear();
        EXPECT_EQ(answerTo(instance, requestOf(command.name)), refusal(command.name));
        EXPECT_THAT(m_recorder.events(),
                    ElementsAreArray(sequence(
                        {postedStart(),
                         gate(command.name),
                         {logged(Kind::Error, postedPlace(133), "check SSO Privilege fail")},
                         response(command.name, 18, "PrivilegeInvalid",
                                  "You do not have the privilege")})));
    }
}

TEST_F(ARefusedCommand, LogsWhenItWasBlocking) {
    const PP_Instance instance = embedWith(support::kNone);
    for (const contract::Command& command : contract::protocol().commands) {
        SCOPED_TRACE(command.name);
        m_recorder.clear();
        EXPECT_EQ(replyTo(instance, requestOf(command.name)),
                  errorReply(18, "SecurityError", "You do not have the privilege"));
        EXPECT_THAT(m_recorder.events(),
                    ElementsAreArray(sequence(
                        {askedStart(),
                         gate(command.name),
                         {logged(Kind::Error, askedPlace(305), "check SSO Privilege fail")}})));
    }
}

/// Whatever any command may want.
Value::Dictionary fullRequest(const std::string& command) {
    Value::Dictionary request{{"command", command}};
    for (const char* key :
         {"data", "id", "secret", "termsId", "callerId", "appID", "cpName", "cpUID"}) {
        request[key] = "text";
    }
    return request;
}

TEST_F(ARefusedCommand, IsNotCheckedAnyFurther) {
    const PP_Instance partnerless = embedWith(support::kPlatform | support::kPublic);
    const PP_Instance platformless = embedWith(support::kPartner | support::kPublic);
    m_recorder.clear();
    for (const contract::Command& command : contract::protocol().commands) {
        SCOPED_TRACE(command.name);
        const bool isPartners = command.privilege == "sso.partner";
        const PP_Instance instance = isPartners ? partnerless : platformless;
        for (const Value& request : {Value(fullRequest(command.name)), requestOf(command.name)}) {
            EXPECT_EQ(answerTo(instance, request), refusal(command.name));
            EXPECT_EQ(replyTo(instance, request),
                      errorReply(18, "SecurityError", "You do not have the privilege"));
        }
    }
    EXPECT_TRUE(m_recorder.libraryCalls().empty());
}

TEST_F(ACommandOfTheOtherPath, IsUnknownThere) {
    const PP_Instance instance = embedWith(support::kPartner | support::kPlatform);
    for (const contract::Command& command : contract::protocol().commands) {
        SCOPED_TRACE(command.name);
        m_recorder.clear();
        if (command.path == contract::Path::Blocking) {
            EXPECT_EQ(answerTo(instance, fullRequest(command.name)),
                      errorAnswer("", -1, "commandInvaild", "Command no recognized"));
            EXPECT_THAT(m_recorder.events(),
                        ElementsAreArray(
                            sequence({postedStart(),
                                      gate(command.name),
                                      {logged(Kind::Error, postedPlace(275), "Command is invalid")},
                                      response("", -1, "commandInvaild", "Command no recognized"),
                                      {postedEnd()}})));
        } else {
            EXPECT_EQ(replyTo(instance, fullRequest(command.name)),
                      errorReply(-2, "InvalidValuesError", "unkown command"));
            EXPECT_THAT(m_recorder.events(),
                        ElementsAreArray(
                            sequence({askedStart(),
                                      gate(command.name),
                                      {logged(Kind::Detail, askedPlace(365), "unknown command[%s]",
                                              "unknown command[" + command.name + "]")}})));
        }
    }
}

}  // namespace
}  // namespace protocol
