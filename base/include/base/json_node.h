#ifndef BASE_JSON_NODE_H_
#define BASE_JSON_NODE_H_

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace base {

struct JsonMember;

/// A value of a JSON text that knows its place there, for messages to the person who wrote it.
struct JsonNode {
    using Array = std::vector<JsonNode>;
    /// In the order of the text, with those that are there twice.
    using Object = std::vector<JsonMember>;

    std::size_t line = 1;  ///< on which it begins
    std::variant<std::nullptr_t, bool, double, std::string, Array, Object> value;
};

struct JsonMember {
    std::string name;
    std::size_t line = 1;  ///< of the name
    JsonNode node;
};

/// A text that is no JSON. what() is "LINE:COLUMN: " or "LINE: " and the cause; it quotes nothing.
class JsonError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// @throws JsonError  when the text is not one JSON value in UTF-8, or nested deeper than any
///                    file that a person writes.
JsonNode parseJson(std::string_view text);

}  // namespace base

#endif
