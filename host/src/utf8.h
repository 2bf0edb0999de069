#ifndef HOST_SRC_UTF8_H_
#define HOST_SRC_UTF8_H_

#include <string_view>

namespace host {

/// Whether the text is well-formed UTF-8: no surrogates, nothing overlong, nothing above U+10FFFF.
bool isUtf8(std::string_view text);

}  // namespace host

#endif
