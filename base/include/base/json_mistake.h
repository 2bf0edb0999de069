#ifndef BASE_JSON_MISTAKE_H_
#define BASE_JSON_MISTAKE_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace base {

/// Why a text is no JSON, for the person who wrote it.
struct JsonMistake {
    std::size_t line;    ///< from 1 on
    std::size_t column;  ///< of the line's characters, from 1 on
    std::string cause;   ///< "is not JSON: a comma is missing" and the like; quotes nothing
};

/// The first mistake of a text, or nothing when it is one JSON value in UTF-8. Any thread.
std::optional<JsonMistake> findJsonMistake(std::string_view text);

}  // namespace base

#endif
