#include "operations.h"

#include <nlohmann/json.hpp>

#include "account/operation_names.h"
#include "protocol_text.h"
#include "verb_tree.h"

namespace service {

using account::Operation;

namespace {

std::vector<CommandOperations> readOperations() {
    std::vector<CommandOperations> all;
    const auto protocol = nlohmann::json::parse(kProtocolText);
    for (const auto& command : protocol.at("commands")) {
        CommandOperations& row = all.emplace_back();
        row.command = command.at("name");
        row.shortName = command.at("method");
        for (const std::string name : command.at("asks")) {
            row.operations.push_back(account::operationNamed(name).value());
        }
    }
    return all;
}

}  // namespace

const std::vector<CommandOperations>& commandOperations() {
    static const std::vector<CommandOperations> all = readOperations();
    return all;
}

std::vector<Operation> operationsFrom(const std::string& word) {
    if (const auto operation = account::operationNamed(word)) return {*operation};
    if (word == "all") {
        std::vector<Operation> all;
        for (const auto& [name, operation] : account::operationNames()) all.push_back(operation);
        return all;
    }
    for (const CommandOperations& one : commandOperations()) {
        if (word != one.shortName && word != one.command && "sso_plugin_" + word != one.command) {
            continue;
        }
        if (one.operations.empty()) {
            throw Refused(word + " asks nothing of the account service: it cannot fail");
        }
        return one.operations;
    }
    std::string known;
    for (const CommandOperations& one : commandOperations()) {
        if (!one.operations.empty()) known += one.shortName + ", ";
    }
    throw Refused("no such operation; there are " + known + "all, and the functions of sso_api.h");
}

}  // namespace service
