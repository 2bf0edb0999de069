#include "server/folder_path.h"

#include <algorithm>
#include <optional>
#include <string>
#include <system_error>

namespace browser {
namespace {

namespace fs = std::filesystem;

std::optional<int> hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return std::nullopt;
}

/// Nothing for a wrong escape, and for one that stands for what no name of a file holds.
std::optional<std::string> decode(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        if (i + 2 >= text.size()) return std::nullopt;
        const auto high = hexDigit(text[i + 1]);
        const auto low = hexDigit(text[i + 2]);
        if (!high || !low) return std::nullopt;
        const char byte = static_cast<char>(*high * 16 + *low);
        if (byte == '\0' || byte == '/') return std::nullopt;
        decoded += byte;
        i += 2;
    }
    return decoded;
}

bool isInside(const fs::path& path, const fs::path& folder) {
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
           folder.end();
}

}  // namespace

FolderPath findInFolder(const fs::path& folder, std::string_view target) {
    target = target.substr(0, target.find_first_of("?#"));
    if (target.empty() || target.front() != '/') return {FolderPath::Kind::NoPath, {}};
    const auto decoded = decode(target);
    if (!decoded) return {FolderPath::Kind::NoPath, {}};
    const fs::path relative = fs::path(*decoded).relative_path();
    // Only somebody other than a browser sends these: a browser resolves them itself.
    if (std::find(relative.begin(), relative.end(), "..") != relative.end()) {
        return {FolderPath::Kind::Outside, {}};
    }

    std::error_code error;
    fs::path found = fs::canonical(folder / relative, error);
    if (error) return {FolderPath::Kind::NotFound, {}};
    if (!isInside(found, folder)) return {FolderPath::Kind::Outside, {}};
    if (fs::is_directory(found, error)) {
        if (decoded->back() != '/') return {FolderPath::Kind::NeedsSlash, {}};
        found = fs::canonical(found / "index.html", error);
        if (error) return {FolderPath::Kind::NotFound, {}};
        if (!isInside(found, folder)) return {FolderPath::Kind::Outside, {}};
    } else if (decoded->back() == '/') {
        return {FolderPath::Kind::NotFound, {}};
    }
    if (!fs::is_regular_file(found, error)) return {FolderPath::Kind::NotFound, {}};
    return {FolderPath::Kind::File, found};
}

}  // namespace browser
