#include "utf8.h"

#include <cstddef>

namespace host {
namespace {

// Length of the well-formed sequence at the start of the text, 0 if there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return 1;

    // The second byte's range depends on the first: that shuts out the overlong forms, the
    // surrogates and everything above U+10FFFF.
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xbf;
    if (lead >= 0xc2 && lead <= 0xdf) {
        length = 2;
    } else if (lead >= 0xe0 && lead <= 0xef) {
        length = 3;
        if (lead == 0xe0) low = 0xa0;
        if (lead == 0xed) high = 0x9f;
    } else if (lead >= 0xf0 && lead <= 0xf4) {
        length = 4;
        if (lead == 0xf0) low = 0x90;
        if (lead == 0xf4) high = 0x8f;
    }
    if (length == 0 || text.size() < length || byte(1) < low || byte(1) > high) return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if ((byte(i) & 0xc0) != 0x80) return 0;
    }
    return length;
}

}  // namespace

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace host
