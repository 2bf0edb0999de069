#ifndef BROWSER_SERVER_BYTE_RANGE_H_
#define BROWSER_SERVER_BYTE_RANGE_H_

#include <cstdint>
#include <string_view>

namespace browser {

/// A part of a file that a request asks for.
struct ByteRange {
    enum class Kind {
        Whole,  ///< no range, several of them, or a header that is none: all such get everything
        Part,
        None,  ///< nothing of the file lies in it
    };
    Kind kind;
    std::uint64_t begin;
    std::uint64_t length;
};

/// @param header  "Range" of a request, empty for none.
/// @param size    of the file, in bytes.
ByteRange rangeOf(std::string_view header, std::uint64_t size);

}  // namespace browser

#endif
