#include "support/protocol.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>

#include "support/require.h"

namespace fuzz {

using host::Value;

const Protocol& Protocol::instance() {
    static const Protocol protocol;
    return protocol;
}

Protocol::Protocol() {
    std::ifstream file(FUZZ_PROTOCOL);
    const auto data = nlohmann::json::parse(file);
    for (const auto& one : data.at("commands")) {
        Command command{one.at("name"),
                        one.at("path") == "blocking",
                        one.at("privilege"),
                        {},
                        one.at("answer").at("key"),
                        one.at("answer").at("type") == "text",
                        one.value("notStarted", "")};
        for (const auto& key : one.at("keys")) {
            command.keys.push_back({key.at("name"), key.at("required"), key.value("example", ""),
                                    key.value("errorMessage", "")});
        }
        m_commands.push_back(command);
    }
    for (const bool isBlocking : {false, true}) {
        const auto& path = data.at("paths").at(isBlocking ? "blocking" : "async");
        for (const auto& error : path.at("errors")) {
            m_errors[isBlocking ? 1 : 0][error.at("kind")] = {
                error.at("number"), error.at("errorName"), error.value("errorMessage", ""),
                error.value("namesCommand", false)};
        }
    }
    m_unregistered = data.at("unregistered");
}

Value Protocol::error(bool isBlocking, const std::string& kind, const std::string& command,
                      const std::string& message) const {
    const Error& error = m_errors[isBlocking ? 1 : 0].at(kind);
    Value::Dictionary answer = {{"errorName", error.name},
                                {"errorMessage", message.empty() ? error.message : message},
                                {isBlocking ? "code" : "status", error.number}};
    if (error.namesCommand && !command.empty()) answer["command"] = command;
    return answer;
}

const Protocol::Command* Protocol::commandOf(const Value& message) const {
    const Value& name = message["command"];
    if (!name.isString()) return nullptr;
    const auto found = std::find_if(m_commands.begin(), m_commands.end(), [&](const Command& one) {
        return one.name == name.asString();
    });
    return found == m_commands.end() ? nullptr : &*found;
}

std::optional<Value> Protocol::refusal(bool isBlocking, const Value& message,
                                       const std::set<std::string>& privileges) const {
    if (!message.isDictionary()) return error(isBlocking, "noDictionary", "");
    if (!message["command"].isString()) return error(isBlocking, "noCommand", "");
    const std::string& name = message["command"].asString();
    const Command* command = commandOf(message);
    if (command == nullptr || privileges.count(command->privilege) == 0) {
        return error(isBlocking, "noPrivilege", name);
    }
    if (command->isBlocking != isBlocking) return error(isBlocking, "otherPath", name);
    for (const Key& key : command->keys) {
        if (key.isRequired && !message[key.name].isString()) {
            return error(isBlocking, "badKey", name, key.errorMessage);
        }
    }
    return std::nullopt;
}

Value Protocol::notStarted(const Command& command) const {
    return error(false, "notStarted", command.name, command.notStarted);
}

Value Protocol::done(const Command& command, const Value& outcome) const {
    Value::Dictionary answer;
    if (command.isBlocking) {
        answer = {{"code", 0}, {"errorName", ""}, {"errorMessage", ""}};
    } else {
        answer = {{"status", 0}, {"command", command.name}};
    }
    if (!outcome.isNull()) answer[command.answerKey] = outcome;
    return answer;
}

Value Protocol::example(const Command& command) const {
    Value::Dictionary message = {{"command", command.name}};
    for (const Key& key : command.keys) message[key.name] = key.example;
    return message;
}

}  // namespace fuzz
