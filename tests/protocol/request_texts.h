#ifndef PROTOCOL_REQUEST_TEXTS_H_
#define PROTOCOL_REQUEST_TEXTS_H_

#include <string>
#include <vector>

#include "host/value.h"

namespace protocol {

/// Members of a request that are no text: one of each other type, and more.
inline std::vector<host::Value> noTexts() {
    using host::Value;
    return {Value(),
            Value::Null{},
            true,
            false,
            0,
            7,
            1.5,
            Value::Array{},
            Value::Array{"x"},
            Value::Dictionary{},
            Value::Dictionary{{"data", "x"}},
            Value::Buffer{},
            Value::Buffer{120},
            "ill-formed \xff text"};  // reaches the plug-in as null
}

/// A text with each of its characters changed: &std::toupper or the like.
inline std::string changed(std::string text, int (*change)(int)) {
    for (char& c : text) c = static_cast<char>(change(static_cast<unsigned char>(c)));
    return text;
}

struct RequestText {
    std::string sent;
    std::string received;  ///< by the client library, which takes a C text
};

inline std::vector<RequestText> requestTexts() {
    const std::string nonAscii = "\xe3\x83\xad\xe3\x82\xb0 \xc3\xbc \xf0\x9f\x98\x80";
    const std::string mebibyte(1 << 20, 'y');
    return {
        {"", ""},
        {" ", " "},
        {"plain", "plain"},
        {"%s%n", "%s%n"},
        {nonAscii, nonAscii},
        {mebibyte, mebibyte},
        {std::string("up to here\0and no further", 25), "up to here"},
        {std::string("\0x", 2), ""},
    };
}

}  // namespace protocol

#endif
