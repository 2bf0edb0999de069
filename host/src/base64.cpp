#include "base64.h"

#include <string_view>

namespace host {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string encodeBase64(const std::vector<std::uint8_t>& bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            group = group << 8 | (i + j < bytes.size() ? bytes[i + j] : 0U);
        }
        for (std::size_t j = 0; j < 4; ++j) {
            const bool padding = i + j > bytes.size();
            text += padding ? '=' : kAlphabet[group >> (18 - 6 * j) & 0x3f];
        }
    }
    return text;
}

std::optional<std::vector<std::uint8_t>> decodeBase64(const std::string& text) {
    if (text.size() % 4 != 0) return std::nullopt;
    std::size_t length = text.size();
    while (length > 0 && text.size() - length < 2 && text[length - 1] == '=') --length;

    std::vector<std::uint8_t> bytes;
    bytes.reserve(length * 3 / 4);
    std::uint32_t bits = 0;
    unsigned count = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const std::size_t digit = kAlphabet.find(text[i]);
        if (digit == std::string_view::npos) return std::nullopt;
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<std::uint8_t>(bits >> count));
            bits &= (1U << count) - 1;
        }
    }
    if (bits != 0) return std::nullopt;
    return bytes;
}

}  // namespace host
