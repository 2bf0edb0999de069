#include "server/byte_range.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace browser {
namespace {

std::optional<std::uint64_t> number(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace

ByteRange rangeOf(std::string_view header, std::uint64_t size) {
    const ByteRange whole = {ByteRange::Kind::Whole, 0, size};
    constexpr std::string_view kUnit = "bytes=";
    if (header.substr(0, kUnit.size()) != kUnit) return whole;
    header.remove_prefix(kUnit.size());
    const std::size_t dash = header.find('-');
    if (dash == std::string_view::npos) return whole;
    const std::string_view firstText = header.substr(0, dash);
    const std::string_view lastText = header.substr(dash + 1);
    const auto first = number(firstText);
    const auto last = number(lastText);
    if ((!first && !firstText.empty()) || (!last && !lastText.empty())) return whole;
    if (!first && !last) return whole;
    if (!first) {  // the last bytes
        const std::uint64_t length = std::min(*last, size);
        return {length == 0 ? ByteRange::Kind::None : ByteRange::Kind::Part, size - length, length};
    }
    if (last && *last < *first) return whole;
    if (*first >= size) return {ByteRange::Kind::None, 0, 0};
    const std::uint64_t end = last ? std::min(*last, size - 1) : size - 1;
    return {ByteRange::Kind::Part, *first, end - *first + 1};
}

}  // namespace browser
