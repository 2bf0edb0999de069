#ifndef SSOCTL_READABLE_H_
#define SSOCTL_READABLE_H_

#include <nlohmann/json.hpp>
#include <string>

namespace ssoctl {

/// A verb's output for a person: a table of a list, a line for each member of an object. Nothing in it moves
/// the cursor of a terminal.
std::string readable(const nlohmann::ordered_json& json);

/// An event in one line, with its time.
std::string readableEvent(const nlohmann::ordered_json& event);

}  // namespace ssoctl

#endif
