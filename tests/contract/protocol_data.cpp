#include "protocol_data.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <stdexcept>

#include "data_node.h"

namespace contract {
namespace {

Error readError(const DataNode& node) {
    node.withNoMembersBut({"kind", "number", "namesCommand", "errorName", "errorMessage", "when"});
    Error error;
    error.kind = node["kind"].text();
    error.number = node["number"].number();
    error.namesCommand = node.has("namesCommand") && node["namesCommand"].flag();
    error.name = node["errorName"].text();
    if (node.has("errorMessage")) error.message = node["errorMessage"].text();
    error.when = node["when"].text();
    return error;
}

PathRules readPath(const DataNode& node) {
    node.withNoMembersBut({"send", "number", "success", "errors"});
    PathRules path;
    path.send = node["send"].text();
    path.numberKey = node["number"].text();
    path.success = node["success"].number();
    for (const DataNode& error : node["errors"].elements()) {
        path.errors.push_back(readError(error));
    }
    return path;
}

Key readKey(const DataNode& node, const PathRules& rules) {
    node.withNoMembersBut({"name", "required", "example", "errorMessage"});
    Key key;
    key.name = node["name"].text();
    key.required = node["required"].flag();
    key.example = node["example"].text();
    if (node.has("errorMessage")) key.ownMessage = node["errorMessage"].text();
    if (key.required) {
        key.message = key.ownMessage.empty() ? rules.error("badKey").message : key.ownMessage;
    } else if (!key.ownMessage.empty()) {
        node.fail("a key that is not required is never refused");
    }
    return key;
}

Command readCommand(const DataNode& node, const Protocol& protocol) {
    node.withNoMembersBut({"name", "method", "popup", "title", "about", "path", "privilege", "asks",
                           "keys", "answer", "notStarted"});
    Command command;
    command.name = node["name"].text();
    command.title = node["title"].text();
    command.about = node["about"].text();
    command.path = pathAt(node["path"]);
    command.privilege = node["privilege"].text();
    if (std::none_of(protocol.privileges.begin(), protocol.privileges.end(),
                     [&](const Privilege& known) { return known.name == command.privilege; })) {
        node["privilege"].fail("there is no " + command.privilege);
    }
    for (const DataNode& key : node["keys"].elements()) {
        command.keys.push_back(readKey(key, protocol.rules(command.path)));
    }
    const DataNode answer = node["answer"];
    answer.withNoMembersBut({"key", "type", "holds"});
    if (node.has("asks") && !node["asks"].elements().empty() && answer.has("holds") &&
        answer["holds"].elements().empty()) {
        answer["holds"].fail("what the account service is asked for tells something of a user");
    }
    if (answer.has("holds")) {
        for (const DataNode& part : answer["holds"].elements()) {
            command.holds.push_back(part.text());
        }
    }
    command.answerKey = answer["key"].text();
    const std::string type = answer["type"].text();
    if (type != "text" && type != "number") answer["type"].fail("has to be text or number");
    command.answerType = type == "text" ? OutcomeType::Text : OutcomeType::Number;
    if (command.path == Path::Async) {
        command.notStarted = node["notStarted"].text();
    } else if (node.has("notStarted")) {
        node["notStarted"].fail("a blocking command starts nothing");
    }
    return command;
}

}  // namespace

const char* nameOf(Path path) { return path == Path::Async ? "async" : "blocking"; }

Path pathAt(const DataNode& node) {
    for (const Path path : {Path::Async, Path::Blocking}) {
        if (node.text() == nameOf(path)) return path;
    }
    node.fail("has to be async or blocking");
}

bool PathRules::has(const std::string& errorKind) const {
    return std::any_of(errors.begin(), errors.end(),
                       [&](const Error& error) { return error.kind == errorKind; });
}

const Error& PathRules::error(const std::string& kind) const {
    for (const Error& error : errors) {
        if (error.kind == kind) return error;
    }
    throw std::runtime_error("protocol.json: " + send + " has no error \"" + kind + '"');
}

const Command* Protocol::find(const std::string& name) const {
    for (const Command& command : commands) {
        if (command.name == name) return &command;
    }
    return nullptr;
}

std::vector<Command> Protocol::commandsOf(Path path) const {
    std::vector<Command> chosen;
    std::copy_if(commands.begin(), commands.end(), std::back_inserter(chosen),
                 [path](const Command& command) { return command.path == path; });
    return chosen;
}

Protocol readProtocol(const std::string& path) {
    const DataNode root = DataNode::ofFile(path);
    root.withNoMembersBut({"$schema", "privileges", "paths", "commands", "unregistered"});
    Protocol protocol;
    for (const DataNode& node : root["privileges"].elements()) {
        node.withNoMembersBut({"name", "identifier"});
        protocol.privileges.push_back({node["name"].text(), node["identifier"].text()});
    }
    root["paths"].withNoMembersBut({"async", "blocking"});
    protocol.async = readPath(root["paths"]["async"]);
    protocol.blocking = readPath(root["paths"]["blocking"]);
    for (const DataNode& node : root["commands"].elements()) {
        const Command command = readCommand(node, protocol);
        if (protocol.find(command.name) != nullptr) node.fail("is there already");
        protocol.commands.push_back(command);
    }
    protocol.unregistered = root["unregistered"].text();
    return protocol;
}

const Protocol& protocol() {
    static const Protocol protocol = readProtocol(dataFile("protocol.json"));
    return protocol;
}

std::string treeFile(const std::string& name) {
    const char* installed = std::getenv("SSO_TEST_DATA");
    return std::string(installed != nullptr ? installed : SSO_SOURCE_DIR) + "/" + name;
}

std::string dataFile(const std::string& name) { return treeFile("protocol/" + name); }

}  // namespace contract
