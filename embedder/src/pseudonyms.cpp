#include "embedder/pseudonyms.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

namespace embedder {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kType = "$type";
constexpr const char* kTextKind = "text";  // of what has no key that the protocol knows
constexpr std::size_t kDeepest = 100;      // of JSON in a text: what recurses over it needs stack

bool isKnownKey(const std::string& key) { return words().keys.count(key) > 0; }

bool isNamed(const Json& value, const char* name) {
    return value.at(kType) == name && value.size() == 2;
}

/// What JSON lacks, see host/value_json.h. Anything else with that key is an object like any other.
bool isUndefined(const Json& value) { return value.at(kType) == "undefined" && value.size() == 1; }

bool isOddNumber(const Json& value) {
    if (!isNamed(value, "double") || !value.contains("value")) return false;
    static const std::set<std::string> names = {"NaN", "Infinity", "-Infinity", "-0"};
    const Json& number = value.at("value");
    return number.is_number() || (number.is_string() && names.count(number) > 0);
}

bool isBuffer(const Json& value) {
    if (!isNamed(value, "arraybuffer") || !value.contains("bytes")) return false;
    const Json& bytes = value.at("bytes");
    return bytes.is_array() && std::all_of(bytes.begin(), bytes.end(), [](const Json& byte) {
               return byte.is_number_integer();
           });
}

bool isEscapedDictionary(const Json& value) {
    return isNamed(value, "dictionary") && value.contains("value") && value.at("value").is_object();
}

/// An upper bound: brackets in texts count, too.
bool isDeep(const std::string& text) {
    std::size_t depth = 0;
    for (const char letter : text) {
        if (letter == '[' || letter == '{') ++depth;
        if ((letter == ']' || letter == '}') && depth > 0) --depth;
        if (depth > kDeepest) return true;
    }
    return false;
}

std::string textOf(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string Pseudonyms::line(const std::string& line) {
    Json object = Json::parse(line);
    std::string command;
    if (const auto named = object.find("command"); named != object.end()) {
        command = *named;
        replaceCommand(*named);
    }
    if (object.contains("request")) replaceRequest(object["request"]);
    if (object.contains("answer")) replaceAnswer(object["answer"], command);
    object["pseudonyms"] = true;
    return textOf(object);
}

void Pseudonyms::replaceRequest(Json& request) {
    if (!request.is_object() || request.contains(kType)) return replaceAll(request, kTextKind);
    Json replaced = Json::object();
    for (auto& [key, member] : request.items()) {
        Json value = std::move(member);
        const bool isKnown = isKnownKey(key);
        const std::string name = isKnown ? key : of(key, "key");
        if (key == "command" && value.is_string()) {
            replaceCommand(value);
        } else {
            replaceAll(value, isKnown ? key : kTextKind);
        }
        replaced[name] = std::move(value);
    }
    request = std::move(replaced);
}

void Pseudonyms::replaceAnswer(Json& answer, const std::string& command) {
    if (answer == words().unregistered) return;
    if (!answer.is_object() || answer.contains(kType)) return replaceAll(answer, kTextKind);
    const Command* known = findCommand(command);
    Json replaced = Json::object();
    for (auto& [key, member] : answer.items()) {
        Json value = std::move(member);
        const bool isKnown = isKnownKey(key);
        const std::string name = isKnown ? key : of(key, "key");
        if (isKnown && value.is_number()) {
            // a state or a code
        } else if (key == "command" && value.is_string()) {
            replaceCommand(value);
        } else if ((key == "errorName" || key == "errorMessage") && value.is_string()) {
            if (words().errors.count(value) == 0) value = of(value, "error");
        } else if (known != nullptr && key == known->answerKey && value.is_string()) {
            replaceOutcome(value, *known);
        } else {
            replaceAll(value, isKnown ? key : kTextKind);
        }
        replaced[name] = std::move(value);
    }
    answer = std::move(replaced);
}

void Pseudonyms::replaceOutcome(Json& text, const Command& command) {
    if (!command.holds) {
        text = inside(text, command.answerKey);
    } else if (!command.holds->empty()) {
        text = parts(text, *command.holds);
    }
}

void Pseudonyms::replaceCommand(Json& command) {
    if (findCommand(command) == nullptr) command = of(command, "command");
}

/// A kind that is alone is of the whole text, with whatever question marks it has.
std::string Pseudonyms::parts(const std::string& text, const std::vector<std::string>& kinds) {
    if (kinds.size() == 1) return of(text, kinds.front());
    std::string replaced;
    std::size_t begin = 0;
    for (std::size_t part = 0;; ++part) {
        const std::size_t end = text.find('?', begin);
        replaced += of(text.substr(begin, end - begin), kinds[std::min(part, kinds.size() - 1)]);
        if (end == std::string::npos) return replaced;
        replaced += '?';
        begin = end + 1;
    }
}

std::string Pseudonyms::inside(const std::string& text, const std::string& kind) {
    Json json = isDeep(text) ? Json() : Json::parse(text, nullptr, false);
    if (!json.is_structured()) return of(text, kind);
    replaceAll(json, kTextKind);
    return textOf(json);
}

void Pseudonyms::replaceAll(Json& value, const std::string& kind) {
    if (value.is_string()) {
        value = of(value, kind);
    } else if (value.is_number()) {
        // Numbers of users are no texts, but as telling. A fraction stays one.
        const std::size_t count =
            m_numbers.emplace(value.dump(), m_numbers.size() + 1).first->second;
        if (value.is_number_float()) {
            value = static_cast<double>(count) + 0.5;
        } else {
            value = count;
        }
    } else if (value.is_array()) {
        for (Json& element : value) replaceAll(element, kind);
    } else if (value.is_object() && value.contains(kType) &&
               (isUndefined(value) || isOddNumber(value) || isBuffer(value) ||
                isEscapedDictionary(value))) {
        if (isBuffer(value)) {
            for (Json& byte : value["bytes"]) byte = 0;
        } else if (!isUndefined(value) && !value["value"].is_string()) {
            replaceAll(value["value"], kind);
        }
    } else if (value.is_object()) {
        Json replaced = Json::object();
        for (auto& [key, member] : value.items()) {
            Json inner = std::move(member);
            const bool isKnown = isKnownKey(key);
            const std::string name = isKnown ? key : of(key, "key");
            replaceAll(inner, isKnown ? key : kind);
            replaced[name] = std::move(inner);
        }
        value = std::move(replaced);
    }
}

std::string Pseudonyms::of(const std::string& text, const std::string& kind) {
    if (text.empty()) return text;
    const auto [entry, isNew] = m_texts.emplace(text, "");
    if (isNew) entry->second = kind + "-" + std::to_string(++m_counts[kind]);
    return entry->second;
}

}  // namespace embedder
