#include "host/value.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <utility>

namespace host {
namespace {

const Value kUndefined;

bool sameDouble(double left, double right) {
    if (std::isnan(left) || std::isnan(right)) return std::isnan(left) && std::isnan(right);
    return left == right && std::signbit(left) == std::signbit(right);
}

template <typename Content, typename Data>
const Content& contentOf(const Data& data, Value::Type wanted, Value::Type present) {
    const Content* content = std::get_if<Content>(&data);
    if (content == nullptr) {
        throw ValueTypeError(std::string("the value is of type ") + typeName(present) + ", not " +
                             typeName(wanted));
    }
    return *content;
}

// Prints until a limit of characters or of depth is reached; both keep a failure report readable.
class Printer {
  public:
    void print(const Value& value, int depth) {
        if (full()) return;
        switch (value.type()) {
            case Value::Type::Undefined:
            case Value::Type::Null:
                m_out << typeName(value.type());
                return;
            case Value::Type::Bool:
                m_out << (value.asBool() ? "true" : "false");
                return;
            case Value::Type::Int32:
                m_out << value.asInt32();
                return;
            case Value::Type::Double:
                printDouble(value.asDouble());
                return;
            case Value::Type::String:
                printText(value.asString());
                return;
            case Value::Type::Array:
                printArray(value.asArray(), depth);
                return;
            case Value::Type::Dictionary:
                printDictionary(value.asDictionary(), depth);
                return;
            case Value::Type::Buffer:
                printBuffer(value.asBuffer());
                return;
        }
    }

    std::string text() const {
        return full() ? m_out.str().substr(0, kLimit) + "..." : m_out.str();
    }

  private:
    static constexpr std::size_t kLimit = 4000;
    static constexpr int kMaxDepth = 50;

    bool full() const { return static_cast<std::size_t>(m_out.tellp()) >= kLimit; }

    void printDouble(double value) {
        if (std::isnan(value)) {
            m_out << "NaN";
        } else if (std::isinf(value)) {
            m_out << (value < 0 ? "-Infinity" : "Infinity");
        } else {
            m_out << nlohmann::json(value).dump();  // the shortest that reads back, with a point
        }
    }

    void printText(const std::string& text) {
        m_out << nlohmann::json(text.substr(0, kLimit))
                     .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }

    void printArray(const Value::Array& elements, int depth) {
        m_out << '[';
        if (depth == kMaxDepth) m_out << "...";
        for (std::size_t i = 0; i < elements.size() && depth < kMaxDepth && !full(); ++i) {
            if (i > 0) m_out << ", ";
            print(elements[i], depth + 1);
        }
        m_out << ']';
    }

    void printDictionary(const Value::Dictionary& members, int depth) {
        m_out << '{';
        if (depth == kMaxDepth) m_out << "...";
        const char* separator = "";
        for (auto it = members.begin(); it != members.end() && depth < kMaxDepth && !full(); ++it) {
            m_out << std::exchange(separator, ", ");
            printText(it->first);
            m_out << ": ";
            print(it->second, depth + 1);
        }
        m_out << '}';
    }

    void printBuffer(const Value::Buffer& bytes) {
        m_out << "ArrayBuffer(" << bytes.size() << ")[" << std::hex << std::setfill('0');
        for (std::size_t i = 0; i < bytes.size() && !full(); ++i) {
            m_out << (i > 0 ? " " : "") << std::setw(2) << static_cast<unsigned>(bytes[i]);
        }
        m_out << std::dec << ']';
    }

    mutable std::ostringstream m_out;
};

}  // namespace

ValueDepthError::ValueDepthError()
    : std::length_error("nested deeper than " + std::to_string(kMaxValueDepth) + " levels") {}

ValueSizeError::ValueSizeError(std::size_t size)
    : std::length_error(std::to_string(size) +
                        " bytes, and a message's text or buffer has at most " +
                        std::to_string(kMaxValueBytes)) {}

std::size_t Value::depthAround(std::size_t inner) {
    if (inner >= kMaxValueDepth) throw ValueDepthError();
    return inner + 1;
}

Value::Value(std::string text) {
    if (text.size() > kMaxValueBytes) throw ValueSizeError(text.size());
    m_data = std::move(text);
}

Value::Value(Array elements) {
    for (const Value& element : elements) m_depth = std::max(m_depth, element.m_depth);
    m_depth = depthAround(m_depth);
    m_data = std::make_shared<const Array>(std::move(elements));
}

Value::Value(Dictionary members) {
    for (const auto& member : members) m_depth = std::max(m_depth, member.second.m_depth);
    m_depth = depthAround(m_depth);
    m_data = std::make_shared<const Dictionary>(std::move(members));
}

Value::Value(Buffer bytes) {
    if (bytes.size() > kMaxValueBytes) throw ValueSizeError(bytes.size());
    m_data = std::make_shared<const Buffer>(std::move(bytes));
}

bool Value::asBool() const { return contentOf<bool>(m_data, Type::Bool, type()); }

std::int32_t Value::asInt32() const { return contentOf<std::int32_t>(m_data, Type::Int32, type()); }

double Value::asDouble() const { return contentOf<double>(m_data, Type::Double, type()); }

const std::string& Value::asString() const {
    return contentOf<std::string>(m_data, Type::String, type());
}

const Value::Array& Value::asArray() const {
    return *contentOf<std::shared_ptr<const Array>>(m_data, Type::Array, type());
}

const Value::Dictionary& Value::asDictionary() const {
    return *contentOf<std::shared_ptr<const Dictionary>>(m_data, Type::Dictionary, type());
}

const Value::Buffer& Value::asBuffer() const {
    return *contentOf<std::shared_ptr<const Buffer>>(m_data, Type::Buffer, type());
}

bool Value::has(const std::string& key) const {
    return isDictionary() && asDictionary().count(key) > 0;
}

const Value& Value::operator[](const std::string& key) const {
    if (!isDictionary()) return kUndefined;
    const auto member = asDictionary().find(key);
    return member == asDictionary().end() ? kUndefined : member->second;
}

const Value& Value::at(std::size_t index) const {
    if (!isArray() || index >= asArray().size()) return kUndefined;
    return asArray()[index];
}

bool operator==(const Value& left, const Value& right) {
    if (left.type() != right.type()) return false;
    switch (left.type()) {
        case Value::Type::Undefined:
        case Value::Type::Null:
            return true;
        case Value::Type::Bool:
            return left.asBool() == right.asBool();
        case Value::Type::Int32:
            return left.asInt32() == right.asInt32();
        case Value::Type::Double:
            return sameDouble(left.asDouble(), right.asDouble());
        case Value::Type::String:
            return left.asString() == right.asString();
        case Value::Type::Buffer:
            return left.asBuffer() == right.asBuffer();
        case Value::Type::Array:
            return &left.asArray() == &right.asArray() || left.asArray() == right.asArray();
        case Value::Type::Dictionary:
            return &left.asDictionary() == &right.asDictionary() ||
                   left.asDictionary() == right.asDictionary();
    }
    return false;
}

const char* typeName(Value::Type type) {
    switch (type) {
        case Value::Type::Undefined:
            return "undefined";
        case Value::Type::Null:
            return "null";
        case Value::Type::Bool:
            return "bool";
        case Value::Type::Int32:
            return "int32";
        case Value::Type::Double:
            return "double";
        case Value::Type::String:
            return "string";
        case Value::Type::Array:
            return "array";
        case Value::Type::Dictionary:
            return "dictionary";
        case Value::Type::Buffer:
            return "arraybuffer";
    }
    return "unknown";
}

std::ostream& operator<<(std::ostream& stream, const Value& value) {
    Printer printer;
    printer.print(value, 0);
    return stream << printer.text();
}

}  // namespace host
