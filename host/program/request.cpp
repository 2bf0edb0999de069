#include "request.h"

#include <iterator>

#include "host/value_json.h"

namespace {

using host::Value;
using Verb = Request::Verb;

struct Row {
    const char* name;
    Verb verb;
    bool takesInstance;
    bool takesTimeout;
};

constexpr Row kVerbs[] = {
    {"post", Verb::Post, true, false},
    {"call", Verb::Call, true, true},
    {"embed", Verb::Embed, false, false},
    {"destroy", Verb::Destroy, false, false},
    {"unregister", Verb::Unregister, false, false},
    {"wait", Verb::Wait, false, true},
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
        if (!text.isString()) throw RequestError("attribute \"" + name + "\" must be a text");
        attributes.emplace_back(name, text.asString());
    }
    return attributes;
}

}  // namespace

Request parseRequest(const std::string& line) {
    Value object;
    try {
        object = host::parseJson(line);
    } catch (const host::JsonError& error) {
        throw RequestError(error.what());
    }
    if (!object.isDictionary()) throw RequestError("not a JSON object");

    const Row& row = verbOf(object);
    Request request;
    request.verb = row.verb;
    for (const auto& [key, value] : object.asDictionary()) {
        if (key == "instance" && row.takesInstance) {
            request.instance = positiveNumber(value, key);
        } else if (key == "timeout" && row.takesTimeout) {
            request.timeout = timeoutOf(value);
        } else if (key != row.name) {
            throw RequestError("unknown key \"" + key + "\" beside \"" + row.name + "\"");
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
            break;
        case Verb::Destroy:
        case Verb::Unregister:
            request.instance = positiveNumber(argument, row.name);
            break;
        case Verb::Wait:
            request.count = static_cast<std::size_t>(positiveNumber(argument, row.name));
            break;
    }
    return request;
}
