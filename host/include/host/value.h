#ifndef HOST_VALUE_H_
#define HOST_VALUE_H_

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace host {

/// Containers that may lie inside each other in a Value, itself included: somewhat more than the
/// browser was seen to pass. What recurses over a Value of this depth, its destruction included,
/// stays within 4 MiB of stack, and with sanitizers within the 8 MiB that a thread has.
inline constexpr std::size_t kMaxValueDepth = 2048;

/// A Value would be nested deeper than kMaxValueDepth.
class ValueDepthError : public std::length_error {
  public:
    ValueDepthError();
};

/// Bytes that a text or a buffer may have: what Pepper can count.
inline constexpr std::size_t kMaxValueBytes = 0xffffffff;

/// A Value's text or buffer would have more than kMaxValueBytes.
class ValueSizeError : public std::length_error {
  public:
    explicit ValueSizeError(std::size_t size);
};

/// What a page has: the part of a JavaScript value that can be sent to a plug-in, and what comes
/// back from one.
///
///   Value request = Value::Dictionary{{"command", "sso_plugin_getVersion"}, {"retries", 3}};
///   EXPECT_EQ(reply["code"], Value(0));
///
/// A Value never changes, so copies share their content: copying is cheap, and one Value may be read
/// on several threads. It cannot contain itself, nor be nested deeper than kMaxValueDepth, so what
/// works on Values may recurse.
class Value {
  public:
    struct Undefined {};
    struct Null {};
    using Array = std::vector<Value>;
    /// In ascending order of the keys' bytes, like the keys of a Pepper dictionary.
    using Dictionary = std::map<std::string, Value>;
    /// The bytes of an ArrayBuffer.
    using Buffer = std::vector<std::uint8_t>;

    /// In the order of the variant below.
    enum class Type { Undefined, Null, Bool, Int32, Double, String, Array, Dictionary, Buffer };

    // A test writes Value::Dictionary{{"command", "login"}, {"count", 3}}; naming Value at each
    // member would bury what is sent.
    // NOLINTBEGIN(google-explicit-constructor): see above
    Value() = default;  ///< undefined
    Value(Undefined) {}
    Value(Null) : m_data(Null{}) {}
    Value(bool value) : m_data(value) {}
    Value(std::int32_t value) : m_data(value) {}
    Value(double value) : m_data(value) {}
    /// Text is UTF-8. Ill-formed text can be held; a plug-in gets null in its place.
    ///
    /// @throws ValueSizeError  these and a buffer.
    Value(std::string text);
    Value(const char* text) : Value(std::string(text)) {}
    /// @throws ValueDepthError  both.
    Value(Array elements);
    Value(Dictionary members);
    Value(Buffer bytes);
    Value(const void*) = delete;  // a stray pointer must not turn into `true`
    // NOLINTEND(google-explicit-constructor)

    Type type() const { return static_cast<Type>(m_data.index()); }
    bool isUndefined() const { return type() == Type::Undefined; }
    bool isNull() const { return type() == Type::Null; }
    bool isBool() const { return type() == Type::Bool; }
    bool isInt32() const { return type() == Type::Int32; }
    bool isDouble() const { return type() == Type::Double; }
    bool isString() const { return type() == Type::String; }
    bool isArray() const { return type() == Type::Array; }
    bool isDictionary() const { return type() == Type::Dictionary; }
    bool isBuffer() const { return type() == Type::Buffer; }

    /// The content. References live as long as this Value or a copy of it.
    ///
    /// @throws ValueTypeError  when the value is of another type; numbers are not converted.
    bool asBool() const;
    std::int32_t asInt32() const;
    double asDouble() const;
    const std::string& asString() const;
    const Array& asArray() const;
    const Dictionary& asDictionary() const;
    const Buffer& asBuffer() const;

    /// Whether this is a dictionary that has the key, even if with an undefined value.
    bool has(const std::string& key) const;

    /// A dictionary's member, or undefined: when the key is missing and when this is no dictionary.
    const Value& operator[](const std::string& key) const;

    /// An array's element, or undefined: when it is out of range and when this is no array.
    const Value& at(std::size_t index) const;

    /// Equal types and equal content. Int32 1 and Double 1.0 differ. Doubles compare as a page's
    /// Object.is does: NaN equals NaN, and -0 differs from 0.
    friend bool operator==(const Value& left, const Value& right);
    friend bool operator!=(const Value& left, const Value& right) { return !(left == right); }

  private:
    static std::size_t depthAround(std::size_t inner);

    std::variant<Undefined, Null, bool, std::int32_t, double, std::string,
                 std::shared_ptr<const Array>, std::shared_ptr<const Dictionary>,
                 std::shared_ptr<const Buffer>>
        m_data;
    std::size_t m_depth = 0;  ///< of containers
};

/// The content of another type was asked for.
class ValueTypeError : public std::logic_error {
  public:
    using std::logic_error::logic_error;
};

/// "int32", "dictionary", ...: as messages name a type.
const char* typeName(Value::Type type);

/// Prints a value for a person, on one line and cut after a few thousand characters. Types stay
/// visible: 1 and 1.0 differ, a buffer is ArrayBuffer(2)[00 ff].
std::ostream& operator<<(std::ostream& stream, const Value& value);

}  // namespace host

#endif
