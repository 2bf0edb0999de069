#include "embedder/application_manifest.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

namespace embedder {
namespace {

using nlohmann::json;

constexpr const char* kPrivilegePath = SSO_PRIVILEGE_ORIGIN "/privilege/";

[[noreturn]] void fail(const std::string& path, const std::string& what) {
    throw ManifestError(path + ": " + what);
}

std::string readFile(const std::string& path) {
    std::error_code error;
    // A folder opens like a file and only then fails to read; a pipe would block.
    if (!std::filesystem::exists(path, error)) fail(path, "no such file");
    if (!std::filesystem::is_regular_file(path, error)) fail(path, "is not a file");
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file) fail(path, "cannot be read");
    return text;
}

json parseObject(const std::string& path) {
    const std::string text = readFile(path);
    try {
        json value = json::parse(text);
        if (!value.is_object()) fail(path, "must hold one JSON object");
        return value;
    } catch (const json::parse_error& error) {
        // The library's own message quotes the input, which may hold line ends.
        const std::size_t end = std::min(error.byte == 0 ? 0 : error.byte - 1, text.size());
        const auto line =
            1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
        fail(path, "is not JSON, see line " + std::to_string(line));
    } catch (const json::out_of_range&) {
        fail(path, "is not JSON that can be read: a number is out of range");
    }
}

std::string requiredText(const std::string& path, const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end()) fail(path, std::string("\"") + key + "\" is missing");
    if (!found->is_string() || found->get_ref<const std::string&>().empty()) {
        fail(path, std::string("\"") + key + "\" must be a text that is not empty");
    }
    return *found;
}

std::string startPage(const std::string& path, const json& object) {
    std::string start = requiredText(path, object, "start");
    const std::filesystem::path normal = std::filesystem::path(start).lexically_normal();
    if (normal.is_absolute() || *normal.begin() == "..") {
        fail(path, "\"start\" must name a file inside the application's folder");
    }
    if (!normal.has_filename() || normal == ".") fail(path, "\"start\" must name a file");
    return start;
}

std::set<std::string> privileges(const std::string& path, const json& object) {
    const auto found = object.find("privileges");
    if (found == object.end()) return {};
    if (!found->is_array()) fail(path, "\"privileges\" must be an array of texts");
    std::set<std::string> identifiers;
    for (const json& name : *found) {
        if (!name.is_string()) fail(path, "\"privileges\" must be an array of texts");
        try {
            identifiers.insert(privilegeIdentifier(name));
        } catch (const ManifestError& error) {
            fail(path, std::string("\"privileges\": ") + error.what());
        }
    }
    return identifiers;
}

}  // namespace

ApplicationManifest readManifest(const std::string& path) {
    const json object = parseObject(path);
    return {requiredText(path, object, "name"), startPage(path, object), privileges(path, object)};
}

std::string privilegeIdentifier(const std::string& name) {
    if (name.find("://") != std::string::npos) return name;
    for (const char* known : {"sso.partner", "sso.platform", "sso.public"}) {
        if (name == known || "sso." + name == known) return std::string(kPrivilegePath) + known;
    }
    // Quoted as JSON, which keeps line ends out of the message.
    throw ManifestError("unknown privilege " +
                        json(name).dump(-1, ' ', false, json::error_handler_t::replace) +
                        "; known are partner, platform, public, and full identifiers (URLs)");
}

}  // namespace embedder
