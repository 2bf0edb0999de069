#include "host/value_json.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/json_mistake.h"

namespace host {
namespace {

using nlohmann::json;

constexpr const char* kType = "$type";

[[noreturn]] void fail(const std::string& reason) { throw JsonError(reason); }

Value numberValue(double number) {
    const bool isInt32 = number >= std::numeric_limits<std::int32_t>::min() &&
                         number <= std::numeric_limits<std::int32_t>::max() &&
                         std::trunc(number) == number && !(number == 0 && std::signbit(number));
    if (isInt32) return static_cast<std::int32_t>(number);
    return number;
}

Value taggedDouble(const json& object) {
    const auto number = object.find("value");
    if (number != object.end()) {
        if (number->is_number()) return number->get<double>();
        if (*number == "NaN") return std::numeric_limits<double>::quiet_NaN();
        if (*number == "Infinity") return std::numeric_limits<double>::infinity();
        if (*number == "-Infinity") return -std::numeric_limits<double>::infinity();
        if (*number == "-0") return -0.0;
    }
    fail(R"("$type":"double" needs a "value": a number, "NaN", "Infinity", "-Infinity" or "-0")");
}

Value taggedBuffer(const json& object) {
    constexpr const char* kNeeded =
        R"("$type":"arraybuffer" needs "bytes": an array of whole numbers from 0 to 255)";
    const auto bytes = object.find("bytes");
    if (bytes == object.end() || !bytes->is_array()) fail(kNeeded);
    Value::Buffer buffer;
    for (const json& byte : *bytes) {
        if (!byte.is_number_integer() || byte < 0 || byte > 255) fail(kNeeded);
        buffer.push_back(byte.get<std::uint8_t>());
    }
    return buffer;
}

// In what follows, `left` counts the levels of containers that may still be opened.

Value read(const json& node, std::size_t left);

std::size_t oneLess(std::size_t left) {
    if (left == 0) fail(ValueDepthError().what());
    return left - 1;
}

Value readArray(const json& array, std::size_t left) {
    Value::Array elements;
    for (const json& element : array) elements.push_back(read(element, left));
    return elements;
}

Value readMembers(const json& object, std::size_t left) {
    Value::Dictionary members;
    for (auto member = object.begin(); member != object.end(); ++member) {
        members.emplace(member.key(), read(*member, left));
    }
    return members;
}

Value readObject(const json& object, std::size_t left) {
    const auto type = object.find(kType);
    if (type == object.end()) return readMembers(object, oneLess(left));
    if (*type == "undefined" && object.size() == 1) return Value::Undefined{};
    if (*type == "double" && object.size() == 2) return taggedDouble(object);
    if (*type == "arraybuffer" && object.size() == 2) return taggedBuffer(object);
    if (*type == "dictionary" && object.size() == 2) {
        const auto literal = object.find("value");
        if (literal != object.end() && literal->is_object()) {
            return readMembers(*literal, oneLess(left));
        }
        fail(R"("$type":"dictionary" needs a "value": an object)");
    }
    fail(R"(an object with "$type" has an unknown type, or not just the keys of its type)");
}

Value read(const json& node, std::size_t left) {
    switch (node.type()) {
        case json::value_t::null:
            return Value::Null{};
        case json::value_t::boolean:
            return node.get<bool>();
        case json::value_t::number_integer:
        case json::value_t::number_unsigned:
        case json::value_t::number_float:
            return numberValue(node.get<double>());
        case json::value_t::string:
            return node.get_ref<const std::string&>();
        case json::value_t::array:
            return readArray(node, oneLess(left));
        case json::value_t::object:
            return readObject(node, left);
        default:
            fail("JSON of this kind stands for no value");
    }
}

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

void write(std::string& out, const Value& value);

void writeArray(std::string& out, const Value::Array& elements) {
    const char* separator = "[";
    for (const Value& element : elements) {
        out += std::exchange(separator, ",");
        write(out, element);
    }
    out += elements.empty() ? "[]" : "]";
}

void writeDictionary(std::string& out, const Value::Dictionary& members) {
    const bool escaped = members.count(kType) > 0;
    if (escaped) out += R"({"$type":"dictionary","value":)";
    const char* separator = "{";
    for (const auto& [key, member] : members) {
        out += std::exchange(separator, ",");
        out += quoted(key) + ':';
        write(out, member);
    }
    out += members.empty() ? "{}" : "}";
    if (escaped) out += '}';
}

void write(std::string& out, const Value& value) {
    switch (value.type()) {
        case Value::Type::Undefined:
            out += R"({"$type":"undefined"})";
            return;
        case Value::Type::Null:
            out += "null";
            return;
        case Value::Type::Bool:
            out += value.asBool() ? "true" : "false";
            return;
        case Value::Type::Int32:
            out += std::to_string(value.asInt32());
            return;
        case Value::Type::Double:
            out += doubleText(value.asDouble());
            return;
        case Value::Type::String:
            out += quoted(value.asString());
            return;
        case Value::Type::Array:
            writeArray(out, value.asArray());
            return;
        case Value::Type::Dictionary:
            writeDictionary(out, value.asDictionary());
            return;
        case Value::Type::Buffer:
            out += R"({"$type":"arraybuffer","bytes":)" + json(value.asBuffer()).dump() + '}';
            return;
    }
}

}  // namespace

Value fromJson(const json& root) { return read(root, kMaxValueDepth); }

Value parseJson(std::string_view text) {
    const auto onPart = [](int depth, json::parse_event_t, json& parsed) {
        // The parser needs memory per level; a line of brackets is no value. A dictionary may take
        // two levels.
        if (static_cast<std::size_t>(depth) > 2 * kMaxValueDepth) fail(ValueDepthError().what());
        // Of the zeros only "-0" is read as a signed integer; a page reads it as a double.
        if (parsed.type() == json::value_t::number_integer && parsed == 0) parsed = -0.0;
        return true;
    };
    try {
        // The parser takes a NUL for the end of the text.
        if (text.find('\0') == std::string_view::npos) return fromJson(json::parse(text, onPart));
    } catch (const json::exception&) {
        // Told below, in better words.
    }
    const auto mistake = base::findJsonMistake(text);
    if (!mistake) fail("is not JSON");
    fail(mistake->cause + " (" +
         (mistake->line > 1 ? "line " + std::to_string(mistake->line) + ", " : "") + "column " +
         std::to_string(mistake->column) + ")");
}

std::string writeJson(const Value& value) {
    std::string out;
    write(out, value);
    return out;
}

json toJson(const Value& value) { return json::parse(writeJson(value)); }

}  // namespace host
