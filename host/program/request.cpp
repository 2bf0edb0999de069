#include "request.h"

#include <set>

#include "command_line.h"
#include "embedder/application_manifest.h"
#include "host/session.h"
#include "host/value_json.h"

namespace {

using host::RequestError;
using host::Value;
using Verb = Request::Verb;

struct Row {
    const char* name;
    Verb verb;
    bool takesInstance;
    bool takesTimeout;
    bool takesApplication;
};

constexpr Row kVerbs[] = {
    {"post", Verb::Post, true, false, false},
    {"call", Verb::Call, true, true, false},
    {"embed", Verb::Embed, false, false, true},
    {"destroy", Verb::Destroy, false, false, false},
    {"unregister", Verb::Unregister, false, false, false},
    {"wait", Verb::Wait, false, true, false},
};

constexpr double kLongestTimeout = 86400;

const Row& verbOf(const Value& request) {
    const Row* found = nullptr;
    for (const Row& row : kVerbs) {
        if (!request.has(row.name)) continue;
        if (found != nullptr) {
            throw RequestError(std::string("both \"") + found->name + "\" and \"" + row.name +
                               "\" in one line");
        }
        found = &row;
    }
    if (found == nullptr) {
        throw RequestError(
            "needs one of \"post\", \"call\", \"embed\", \"destroy\", \"unregister\", \"wait\"");
    }
    return *found;
}

std::int32_t positiveNumber(const Value& value, const std::string& key) {
    if (!value.isInt32() || value.asInt32() < 1) {
        throw RequestError("\"" + key + "\" must be a whole number from 1 on");
    }
    return value.asInt32();
}

std::chrono::milliseconds timeoutOf(const Value& value) {
    double seconds = -1;
    if (value.isInt32()) seconds = value.asInt32();
    if (value.isDouble()) seconds = value.asDouble();
    if (!(seconds >= 0 && seconds <= kLongestTimeout)) {
        throw RequestError("\"timeout\" must be a number of seconds from 0 to 86400");
    }
    return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

host::Attributes attributesOf(const Value& value) {
    host::Attributes attributes;
    if (value == Value(true)) return attributes;
    if (!value.isDictionary()) throw RequestError("\"embed\" must be true or an object of texts");
    for (const auto& [name, text] : value.asDictionary()) {
        if (!text.isString()) {
            throw RequestError("attribute " + host::writeJson(name) + " must be a text");
        }
        attributes.emplace_back(name, text.asString());
    }
    return attributes;
}

/// The application of a line that names one, in "grant", "manifest" or both.
std::optional<embedder::Application> applicationIn(const Value& line) {
    if (!line.has("grant") && !line.has("manifest")) return std::nullopt;
    const Value grant = line.has("grant") ? line["grant"] : Value::Array{};
    const Value manifest = line.has("manifest") ? line["manifest"] : "";
    if (!grant.isArray()) throw RequestError("\"grant\" must be an array of texts");
    if (!manifest.isString() || (line.has("manifest") && manifest.asString().empty())) {
        throw RequestError("\"manifest\" must be the name of a file");
    }
    try {
        std::set<std::string> grants;
        for (const Value& name : grant.asArray()) {
            if (!name.isString()) throw RequestError("\"grant\" must be an array of texts");
            grants.insert(embedder::privilegeIdentifier(name.asString()));
        }
        return applicationOf(manifest.asString(), grants);
    } catch (const embedder::InputError& error) {
        throw RequestError(error.what());
    }
}

/// What a line of --messages, or of this program's output, asks for as input. Nothing for any other.
std::optional<Request> requestOfOutput(const Value& object) {
    for (const Row& row : kVerbs) {
        if (object.has(row.name)) return std::nullopt;
    }
    const std::optional<Record> record = readRecord(object);
    if (record && record->isRequest) return requestOf(*record);
    Request request;
    if (record && !record->isBlocking && !record->isGone) {
        request.verb = Verb::Wait;
        request.count = 1;
        return request;
    }
    if (!record && !isEvent(object)) return std::nullopt;
    request.verb = Verb::Nothing;
    return request;
}

}  // namespace

bool isComment(const std::string& line) {
    const std::size_t begin = line.find_first_not_of(" \t\r");
    return begin == std::string::npos || line[begin] == '#' || line.compare(begin, 2, "//") == 0;
}

std::string commandOf(const Value& message) {
    const Value& command = message["command"];
    return command.isString() ? command.asString() : "";
}

Request requestOf(const Record& record) {
    Request request;
    request.verb = record.isBlocking ? Verb::Call : Verb::Post;
    request.value = record.value;
    request.recordedInstance = record.instance;
    return request;
}

Request parseRequest(const std::string& line) {
    Value object;
    try {
        object = host::parseJson(line);
    } catch (const host::JsonError& error) {
        throw RequestError(error.what());
    }
    if (!object.isDictionary()) throw RequestError("not a JSON object");
    if (const auto known = requestOfOutput(object)) return *known;

    const Row& row = verbOf(object);
    Request request;
    request.verb = row.verb;
    for (const auto& [key, value] : object.asDictionary()) {
        if (key == "instance" && row.takesInstance) {
            request.instance = positiveNumber(value, key);
        } else if (key == "timeout" && row.takesTimeout) {
            request.timeout = timeoutOf(value);
        } else if (key != row.name &&
                   !(row.takesApplication && (key == "grant" || key == "manifest"))) {
            throw RequestError("unknown key " + host::writeJson(key) + " beside \"" + row.name +
                               "\"");
        }
    }

    const Value& argument = object[row.name];
    switch (row.verb) {
        case Verb::Post:
        case Verb::Call:
            request.value = argument;
            break;
        case Verb::Embed:
            request.attributes = attributesOf(argument);
            request.application = applicationIn(object);
            break;
        case Verb::Destroy:
        case Verb::Unregister:
            request.instance = positiveNumber(argument, row.name);
            break;
        case Verb::Wait:
            request.count = static_cast<std::size_t>(positiveNumber(argument, row.name));
            break;
        case Verb::Nothing:  // no line's own
            break;
    }
    return request;
}
