#ifndef PROTOCOL_PROTOCOL_TEST_H_
#define PROTOCOL_PROTOCOL_TEST_H_

#include <algorithm>
#include <string>
#include <vector>

#include "expected_calls.h"
#include "plugin_test.h"
#include "sso_api_control.h"

namespace protocol {

using host::CallResult;
using host::Value;
using support::Event;
using support::finish;
using support::json;
using support::requestOf;
using support::setAnswer;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

/// What the tests of the protocol have in common.
class ProtocolTest : public support::PluginTest {
  protected:
    /// Calls on one thread, in order.
    static std::vector<Event> eventsOn(pid_t thread, const std::vector<Event>& events) {
        std::vector<Event> found;
        std::copy_if(events.begin(), events.end(), std::back_inserter(found),
                     [thread](const Event& event) { return event.threadId == thread; });
        return found;
    }

    /// What is left without the request to end the worker's loop, which is the support class' own.
    static std::vector<Event> withoutQuit(std::vector<Event> events) {
        events.erase(std::remove_if(events.begin(), events.end(),
                                    [](const Event& event) { return event.what == "PostQuit"; }),
                     events.end());
        return events;
    }

    /// The destruction's calls, of an instance that is idle. The recorder starts afresh.
    std::vector<Event> destroyed(PP_Instance instance) {
        m_recorder.clear();
        EXPECT_TRUE(host().destroy(instance));
        return withoutQuit(m_recorder.events());
    }

    /// How often a call or line, whole or in part, was recorded.
    std::size_t count(const std::string& part) const {
        const std::vector<Event> events = m_recorder.events();
        return static_cast<std::size_t>(std::count_if(
            events.begin(), events.end(),
            [&](const Event& event) { return event.what.find(part) != std::string::npos; }));
    }

    /// Starts a login page and leaves it open.
    void startLogin(PP_Instance instance, const std::string& data = "page") {
        host().post(instance, Value::Dictionary{{"command", kLogin}, {"data", data}});
        EXPECT_TRUE(host().drain(instance));
    }

    static constexpr const char* kLogin = "sso_plugin_show_login_page";
    static constexpr const char* kVersion = "sso_plugin_getVersion";
};

/// The answer of a login page that ended.
inline Value loginAnswer(int state) {
    return Value::Dictionary{
        {"command", "sso_plugin_show_login_page"}, {"status", 0}, {"state", state}};
}

/// The answer of a posted request that failed; without "command" when `command` is empty.
inline Value errorAnswer(const std::string& command, int status, const char* name,
                         const char* message) {
    Value::Dictionary answer{{"status", status}, {"errorName", name}, {"errorMessage", message}};
    if (!command.empty()) answer["command"] = command;
    return answer;
}

inline Value refusal(const std::string& command) {
    return errorAnswer(command, 18, "PrivilegeInvalid", "You do not have the privilege");
}

/// A blocking reply; without "value".
inline Value errorReply(int code, const char* name, const char* message) {
    return Value::Dictionary{{"code", code}, {"errorName", name}, {"errorMessage", message}};
}

inline Value goodReply(const Value& value) {
    return Value::Dictionary{
        {"code", 0}, {"errorName", ""}, {"errorMessage", ""}, {"value", value}};
}

inline Value versionReply() { return goodReply("1.1"); }

}  // namespace protocol

#endif
