#ifndef HOST_VALUE_JSON_H_
#define HOST_VALUE_JSON_H_

#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/value.h"

/// Values as JSON. What JSON has is written as it is; like a page, a number whose value is an int32
/// becomes Int32 (also 3.0), any other number Double. What JSON lacks is an object with "$type":
///
///   {"$type": "undefined"}
///   {"$type": "double", "value": 1.0}        also "NaN", "Infinity", "-Infinity", "-0"
///   {"$type": "arraybuffer", "bytes": [0, 1, 255]}
///   {"$type": "dictionary", "value": {...}}  a dictionary that itself has the key "$type"
///
/// Writing and reading back gives an equal value, except that ill-formed UTF-8 is written as
/// U+FFFD. All functions may be called on any thread.
namespace host {

/// The text is no JSON, or no value can be made of it. what() is one line, not longer than a few
/// hundred characters.
class JsonError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// @throws JsonError  for text that is no JSON or no UTF-8, a number beyond double, a value
///                    beyond kMaxValueDepth, and an object with "$type" that is none of the above.
Value parseJson(std::string_view text);

/// @return one line without line feeds.
std::string writeJson(const Value& value);

/// @throws JsonError  as parseJson().
Value fromJson(const nlohmann::json& json);

nlohmann::json toJson(const Value& value);

}  // namespace host

#endif
