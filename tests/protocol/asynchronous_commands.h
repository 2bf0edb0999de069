#ifndef PROTOCOL_ASYNCHRONOUS_COMMANDS_H_
#define PROTOCOL_ASYNCHRONOUS_COMMANDS_H_

#include <stdexcept>
#include <string>
#include <vector>

#include "asynchronous_traces.h"
#include "protocol_data.h"
#include "protocol_test.h"

namespace protocol {

/// A member of a request that is handed to the client library.
struct Key {
    const char* name;
    /// The error message when it is no text; null when it is handed on as an empty one then.
    const char* refusal;
};

/// A command that starts an operation: its traces, and what the protocol says of it.
struct AsynchronousCommand : AsynchronousTraces {
    std::vector<Key> keys;   ///< in the order of the checks and of the library's arguments
    const char* notStarted;  ///< the error message when the library does not start it
    const char* valueKey;    ///< of the answer
};

/// Those that the protocol has and that have traces here. A test tells when one of the two lacks a
/// command; another when the protocol cannot be read, which leaves this empty.
inline std::vector<AsynchronousCommand> joinAsynchronousCommands() try {
    std::vector<AsynchronousCommand> commands;
    for (const AsynchronousTraces& traces : kAsynchronousTraces) {
        const contract::Command* command = contract::protocol().find(traces.name);
        if (command == nullptr) continue;
        std::vector<Key> keys;
        for (const contract::Key& key : command->keys) {
            keys.push_back({key.name.c_str(), key.required ? key.message.c_str() : nullptr});
        }
        commands.push_back({traces, keys, command->notStarted.c_str(), command->answerKey.c_str()});
    }
    return commands;
} catch (const std::runtime_error&) {
    return {};
}

inline const std::vector<AsynchronousCommand> kAsynchronousCommands = joinAsynchronousCommands();

/// A request with a text of its own under each key.
inline Value::Dictionary requestFor(const AsynchronousCommand& command) {
    Value::Dictionary request{{"command", command.name}};
    for (const Key& key : command.keys) request[key.name] = std::string(key.name) + " text";
    return request;
}

/// The texts that the client library gets of requestFor().
inline std::vector<std::string> textsOf(const AsynchronousCommand& command) {
    if (command.keys.empty()) return {""};  // the page of the login popup that creates an account
    std::vector<std::string> texts;
    for (const Key& key : command.keys) texts.push_back(std::string(key.name) + " text");
    return texts;
}

/// The answer to an operation that ended so.
inline Value endAnswer(const AsynchronousCommand& command, const SsoApiEnd& end) {
    Value value;
    switch (command.ending) {
        case Ending::State:
            value = end.state;
            break;
        case Ending::Text:
            value = end.text != nullptr ? end.text : "";
            break;
        case Ending::Result:
            value = end.result;
            break;
    }
    return Value::Dictionary{{"command", command.name}, {"status", 0}, {command.valueKey, value}};
}

/// Calls the callback that `call` registered, as the client library does.
inline int callBack(const AsynchronousCommand& command, const support::LibraryCall& call,
                    void* userData, const SsoApiEnd& end) {
    if (call.callback == nullptr) {
        ADD_FAILURE() << command.name << " started nothing that could be called back";
        return 0;
    }
    switch (command.ending) {
        case Ending::State:
            return call.popupCallback()(userData, end.result,
                                        static_cast<sso_popup_state_e>(end.state));
        case Ending::Text:
            return call.textCallback()(userData, end.result, const_cast<char*>(end.text));
        case Ending::Result:
            return call.resultCallback()(userData, end.result);
    }
    return 0;
}

/// A request up to where its keys are checked.
inline EventMatchers admitted(const AsynchronousCommand& command) {
    return sequence({postedStart(),
                     gate(command.name),
                     {logged(Kind::Detail, postedPlace(command.line), command.name)}});
}

/// The line that tells of the text in the trace, where there is one.
inline EventMatchers tracePoint(const AsynchronousCommand& command, int line) {
    if (line == 0) return {};
    return {
        logged(Kind::Flow, postedPlace(line), std::string("NDL-HT") + command.callback + " done")};
}

/// A request that starts an operation.
inline EventMatchers started(const AsynchronousCommand& command) {
    return sequence({admitted(command),
                     {called(Supplier::Library, command.function)},
                     tracePoint(command, command.startedLine),
                     {postedEnd()}});
}

/// A request for an operation that the client library does not start.
///
/// @param during  what happens inside the call of the library.
inline EventMatchers notStarted(const AsynchronousCommand& command,
                                const EventMatchers& during = {}) {
    return sequence({admitted(command),
                     {called(Supplier::Library, command.function)},
                     during,
                     tracePoint(command, command.notStartedLine),
                     response(command.name, -1, "error", command.notStarted)});
}

/// What a callback says of itself: some say their name once more.
inline EventMatchers callbackLine(const AsynchronousCommand& command) {
    const EventMatchers opened = scope(command.callback, command.scopeLine);
    if (command.callbackLine == 0) return opened;
    return sequence({opened,
                     {logged(Kind::Detail, handlerPlace(command.callback, command.callbackLine),
                             command.callback)}});
}

/// An operation's end whose answer goes out.
inline EventMatchers answered(const AsynchronousCommand& command) {
    return sequence({callbackLine(command), response(command.name, 0, "", "")});
}

/// An operation's end while its instance is being destroyed.
inline EventMatchers dropped(const AsynchronousCommand& command) {
    return sequence({callbackLine(command), droppedResponse(command.name, 0)});
}

class AsynchronousTest : public ProtocolTest {
  protected:
    /// Starts an operation and leaves it outstanding.
    ///
    /// @return what the client library got.
    support::LibraryCall start(PP_Instance instance, const AsynchronousCommand& command) {
        host().post(instance, requestFor(command));
        EXPECT_TRUE(host().drain(instance));
        const std::vector<support::LibraryCall> calls = m_recorder.libraryCalls();
        EXPECT_FALSE(calls.empty());
        return calls.empty() ? support::LibraryCall() : calls.back();
    }

    /// Starts one of each kind.
    void startAll(PP_Instance instance) {
        for (const AsynchronousCommand& command : kAsynchronousCommands) start(instance, command);
    }
};

}  // namespace protocol

#endif
