#include "arguments.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace dlog {
namespace {

bool isControl(char letter) {
    const auto byte = static_cast<unsigned char>(letter);
    return byte < 0x20 || byte == 0x7f;
}

constexpr std::array<bool, 256> suspiciousBytes() {
    std::array<bool, 256> bytes{};
    for (std::size_t byte = 0; byte < 0x20; ++byte) {
        bytes[byte] = true;
    }
    bytes[0x7f] = bytes[0xc2] = bytes[0xe2] = true;
    return bytes;
}

/// How many letters may begin what controlAt tells of. By a table: each line is looked at.
std::size_t countSuspicious(std::string_view text) {
    static constexpr std::array<bool, 256> kSuspicious = suspiciousBytes();
    std::size_t count = 0;
    for (const char letter : text) {
        count += kSuspicious[static_cast<unsigned char>(letter)] ? 1 : 0;
    }
    return count;
}

/// What a terminal takes as one, and is more than a byte in UTF-8.
struct Control {
    std::size_t size;  ///< in bytes; 0 if there is none
    unsigned codePoint;
};

Control controlAt(const char* text) {
    const auto byte = [text](int index) { return static_cast<unsigned char>(text[index]); };
    if (isControl(text[0])) {
        return {1, byte(0)};
    }
    if (byte(0) == 0xc2 && byte(1) >= 0x80 && byte(1) < 0xa0) {
        return {2, byte(1)};
    }
    // Separators of lines, and marks that turn the direction of a whole line.
    if (byte(0) == 0xe2 && byte(1) == 0x80 && byte(2) >= 0xa8 && byte(2) <= 0xae) {
        return {3, 0x2000U + (byte(2) - 0x80U)};
    }
    return {0, 0};
}

/// A text that grows up to the room that there is, and ends with a zero.
class Escaped {
  public:
    void put(std::string_view part) {
        if (part.size() > m_text.size() - 1 - m_size) {
            m_isFull = true;  // half an escape would be another text
            return;
        }
        std::memcpy(m_text.data() + m_size, part.data(), part.size());
        m_size += part.size();
    }
    void putEscape(unsigned codePoint) {
        if (codePoint == '\n') {
            put("\\n");
            return;
        }
        constexpr std::string_view kDigits = "0123456789abcdef";
        std::array<char, 6> escape{'\\', 'u'};
        for (std::size_t digit = 0; digit < 4; ++digit) {
            escape[2 + digit] = kDigits[(codePoint >> (4 * (3 - digit))) & 0xf];
        }
        put({escape.data(), escape.size()});
    }
    bool isFull() const { return m_isFull; }
    void finish(Text& text) {
        m_text[m_size] = '\0';
        std::memcpy(text.data(), m_text.data(), m_size + 1);
    }

  private:
    Text m_text;  // not cleared: it is large, and lines are short
    std::size_t m_size = 0;
    bool m_isFull = false;
};

bool hasControlsOfArguments(const Text& text, std::size_t size, const char* format) {
    const std::size_t suspicious = countSuspicious({text.data(), std::min(size, text.size() - 1)});
    if (suspicious == 0) {
        return false;
    }
    // Of a text that was cut, some of the format's may be missing, and others be there in their stead.
    return size >= text.size() || suspicious != countSuspicious(format);
}

/// Formats again, with other letters in the places of the format's control characters: where both texts have
/// the same one, an argument brought it.
void formatAgain(Text& second, const Text& first, const char* format, va_list arguments) {
    const std::size_t size = std::strlen(format);
    if (size >= second.size()) {
        second = first;  // longer than any format of a person's: it counts as an argument
        return;
    }
    // No letter of a conversion, so that nothing of the format becomes another one.
    constexpr char kOther = '~';
    Text plain;
    std::replace_copy_if(format, format + size, plain.begin(), isControl, kOther);
    plain[size] = '\0';
    // Not a literal: it is the caller's, but for these letters.
    std::vsnprintf(second.data(), second.size(), plain.data(), arguments);
}

}  // namespace

void escapeArguments(Text& text, std::size_t size, const char* format, va_list arguments) {
    if (!hasControlsOfArguments(text, size, format)) {
        return;
    }
    Text second;
    formatAgain(second, text, format, arguments);
    Escaped escaped;
    for (std::size_t at = 0; text[at] != '\0' && !escaped.isFull();) {
        const Control control = controlAt(&text[at]);
        const bool isOfFormat = control.size == 1 && text[at] != second[at];
        if (control.size == 0 || isOfFormat) {
            escaped.put({&text[at], 1});
            ++at;
        } else {
            escaped.putEscape(control.codePoint);
            at += control.size;
        }
    }
    escaped.finish(text);
}

}  // namespace dlog
