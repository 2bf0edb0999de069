#include "host/value_json.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "base64.h"

namespace host {
namespace {

using nlohmann::json;

constexpr const char* kType = "$type";

[[noreturn]] void fail(const std::string& reason) {
    constexpr std::size_t kMaxReason = 300;  // the parser quotes the text it stopped at, all of it
    throw JsonError(reason.size() <= kMaxReason ? reason : reason.substr(0, kMaxReason) + "...");
}

Value numberValue(double number) {
    const bool isInt32 = number >= std::numeric_limits<std::int32_t>::min() &&
                         number <= std::numeric_limits<std::int32_t>::max() &&
                         std::trunc(number) == number && !(number == 0 && std::signbit(number));
    if (isInt32) return static_cast<std::int32_t>(number);
    return number;
}

Value leafValue(const json& leaf) {
    switch (leaf.type()) {
        case json::value_t::null:
            return Value::Null{};
        case json::value_t::boolean:
            return leaf.get<bool>();
        case json::value_t::number_integer:
        case json::value_t::number_unsigned:
        case json::value_t::number_float:
            return numberValue(leaf.get<double>());
        case json::value_t::string:
            return leaf.get_ref<const std::string&>();
        default:
            fail("JSON of this kind stands for no value");
    }
}

Value taggedDouble(const Value& value) {
    if (value.isInt32()) return static_cast<double>(value.asInt32());
    if (value.isDouble()) return value;
    if (value == Value("NaN")) return std::numeric_limits<double>::quiet_NaN();
    if (value == Value("Infinity")) return std::numeric_limits<double>::infinity();
    if (value == Value("-Infinity")) return -std::numeric_limits<double>::infinity();
    if (value == Value("-0")) return -0.0;
    fail(R"("$type":"double" needs a "value": a number, "NaN", "Infinity", "-Infinity" or "-0")");
}

Value taggedBuffer(const Value& base64) {
    std::optional<Value::Buffer> bytes;
    if (base64.isString()) bytes = decodeBase64(base64.asString());
    if (!bytes) fail(R"("$type":"arraybuffer" needs "base64": a text in that encoding)");
    return std::move(*bytes);
}

Value taggedDictionary(const Value& value) {
    if (!value.isDictionary()) fail(R"("$type":"dictionary" needs a "value": an object)");
    return value;
}

Value taggedValue(const Value& object) {
    const Value& type = object[kType];
    const std::size_t keys = object.asDictionary().size();
    if (type == Value("undefined") && keys == 1) return Value::Undefined{};
    if (type == Value("double") && keys == 2) return taggedDouble(object["value"]);
    if (type == Value("arraybuffer") && keys == 2) return taggedBuffer(object["base64"]);
    if (type == Value("dictionary") && keys == 2) return taggedDictionary(object["value"]);
    fail(R"(an object with "$type" has an unknown type, or not just the keys of its type)");
}

// A container that is being read; its content collects here.
struct Reading {
    const json* node;
    json::const_iterator next;
    bool literal;  // "$type" is a key like any other
    Value::Array elements = {};
    Value::Dictionary members = {};

    Value finished() {
        if (node->is_array()) return std::move(elements);
        const bool tagged = !literal && members.count(kType) > 0;
        Value object = std::move(members);
        return tagged ? taggedValue(object) : object;
    }
};

// Objects that are being written; `next` counts the children that are done.
struct Writing {
    const Value* value;
    std::size_t next = 0;
    Value::Dictionary::const_iterator member = {};
    const char* close = "";
};

std::string quoted(const std::string& text) {
    return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string doubleText(double number) {
    const auto tagged = [](const std::string& value) {
        return R"({"$type":"double","value":)" + value + "}";
    };
    if (std::isnan(number)) return tagged(R"("NaN")");
    if (std::isinf(number)) return tagged(number < 0 ? R"("-Infinity")" : R"("Infinity")");
    if (number == 0 && std::signbit(number)) return tagged(R"("-0")");
    const std::string plain = json(number).dump();
    return numberValue(number).isDouble() ? plain : tagged(plain);
}

std::string leafText(const Value& leaf) {
    switch (leaf.type()) {
        case Value::Type::Undefined:
            return R"({"$type":"undefined"})";
        case Value::Type::Bool:
            return leaf.asBool() ? "true" : "false";
        case Value::Type::Int32:
            return std::to_string(leaf.asInt32());
        case Value::Type::Double:
            return doubleText(leaf.asDouble());
        case Value::Type::String:
            return quoted(leaf.asString());
        case Value::Type::Buffer:
            return R"({"$type":"arraybuffer","base64":")" + encodeBase64(leaf.asBuffer()) + "\"}";
        default:
            return "null";
    }
}

// The parser itself does not recurse, but needs memory per level; a line of brackets is no value.
void checkDepth(std::string_view text) {
    std::size_t depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') inString = !inString;
        if (inString) {
            if (c == '\\') ++i;
        } else if (c == '[' || c == '{') {
            if (++depth > kMaxJsonDepth) {
                fail("nested deeper than " + std::to_string(kMaxJsonDepth) + " levels");
            }
        } else if ((c == ']' || c == '}') && depth > 0) {
            --depth;
        }
    }
}

}  // namespace

Value fromJson(const json& root) {
    std::vector<Reading> stack;
    const auto open = [&stack](const json& node, bool literal) {
        if (stack.size() == kMaxJsonDepth) {
            fail("nested deeper than " + std::to_string(kMaxJsonDepth) + " levels");
        }
        stack.push_back({&node, node.begin(), literal});
    };

    if (!root.is_structured()) return leafValue(root);
    open(root, false);
    for (;;) {
        Reading& top = stack.back();
        const auto store = [](Reading& parent, Value value) {
            if (parent.node->is_array()) {
                parent.elements.push_back(std::move(value));
            } else {
                parent.members.insert_or_assign(parent.next.key(), std::move(value));
            }
            ++parent.next;
        };
        if (top.next == top.node->end()) {
            Value done = top.finished();
            stack.pop_back();
            if (stack.empty()) return done;
            store(stack.back(), std::move(done));
        } else if (top.next->is_structured()) {
            const bool literal = !top.literal && top.node->is_object() &&
                                 top.next.key() == "value" && top.node->contains(kType) &&
                                 (*top.node)[kType] == "dictionary";
            open(*top.next, literal);
        } else {
            store(top, leafValue(*top.next));
        }
    }
}

Value parseJson(std::string_view text) {
    checkDepth(text);
    // The parser takes a NUL for the end of the text.
    if (text.find('\0') != std::string_view::npos) fail("a NUL byte has no place in JSON");
    // Of the zeros only "-0" is read as a signed integer; a page reads it as a double.
    const auto keepSignOfZero = [](int, json::parse_event_t, json& parsed) {
        if (parsed.type() == json::value_t::number_integer && parsed == 0) parsed = -0.0;
        return true;
    };
    try {
        return fromJson(json::parse(text, keepSignOfZero));
    } catch (const json::exception& error) {
        const std::string what =
            error.what();  // "[json.exception.parse_error.101] parse error ..."
        const std::size_t reason = what.find("] ");
        fail(reason == std::string::npos ? what : what.substr(reason + 2));
    }
}

std::string writeJson(const Value& root) {
    std::string out;
    std::vector<Writing> stack;
    const auto open = [&](const Value& value) {
        if (value.isArray()) {
            out += '[';
            stack.push_back({&value, 0, {}, "]"});
        } else if (value.isDictionary()) {
            const bool escaped = value.has(kType);
            out += escaped ? R"({"$type":"dictionary","value":{)" : "{";
            stack.push_back({&value, 0, value.asDictionary().begin(), escaped ? "}}" : "}"});
        } else {
            out += leafText(value);
        }
    };

    open(root);
    while (!stack.empty()) {
        Writing& top = stack.back();
        const bool array = top.value->isArray();
        const std::size_t size =
            array ? top.value->asArray().size() : top.value->asDictionary().size();
        if (top.next == size) {
            out += top.close;
            stack.pop_back();
            continue;
        }
        if (top.next > 0) out += ',';
        const std::size_t index = top.next++;
        if (array) {
            open(top.value->asArray()[index]);
        } else {
            const auto member = top.member++;
            out += quoted(member->first) + ':';
            open(member->second);
        }
    }
    return out;
}

json toJson(const Value& value) { return json::parse(writeJson(value)); }

}  // namespace host
