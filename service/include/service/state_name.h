#ifndef SERVICE_STATE_NAME_H_
#define SERVICE_STATE_NAME_H_

#include <cstddef>
#include <string>

namespace service {

/// Whether a text can be the name of a state: it is the name of a file, too.
inline bool isStateName(const std::string& name) {
    constexpr std::size_t kLongest = 64;
    constexpr const char* kLetters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.";
    return !name.empty() && name.size() <= kLongest && name.front() != '.' &&
           name.find_first_not_of(kLetters) == std::string::npos;
}

/// What it must be, for a person.
constexpr const char* kStateNameRule =
    "must have at most 64 letters, digits, dots, dashes and underscores, and no dot first";

}  // namespace service

#endif
