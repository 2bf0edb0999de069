#ifndef HOST_SRC_BASE64_H_
#define HOST_SRC_BASE64_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// With padding, in the standard alphabet.
std::string encodeBase64(const std::vector<std::uint8_t>& bytes);

/// Nothing when the text has a foreign character, a wrong length or stray bits at its end.
std::optional<std::vector<std::uint8_t>> decodeBase64(const std::string& text);

}  // namespace host

#endif
