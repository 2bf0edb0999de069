#include "embedder/application_manifest.h"

#include <filesystem>
#include <nlohmann/json.hpp>

#include "base/file_value.h"

namespace embedder {
namespace {

using base::FileValue;

constexpr const char* kPrivilegePath = SSO_PRIVILEGE_ORIGIN "/privilege/";
constexpr const char* kLeast =
    R"({ "name": "My application", "start": "index.html", "privileges": ["sso.partner"] })";
constexpr std::size_t kLongestText = 1024;

std::string startPage(const FileValue& value) {
    const std::string& start = value.filledText(kLongestText);
    const std::filesystem::path normal = std::filesystem::path(start).lexically_normal();
    if (normal.is_absolute() || *normal.begin() == "..") {
        value.fail("must name a file inside the application's folder");
    }
    if (!normal.has_filename() || normal == ".") value.fail("must name a file");
    return start;
}

std::string privilege(const FileValue& value) {
    const std::string& name = value.text(kLongestText);
    try {
        return privilegeIdentifier(name);
    } catch (const ManifestError& error) {
        value.fail(error.what());
    }
}

ApplicationManifest manifest(const FileValue& whole) {
    ApplicationManifest read;
    constexpr auto kRequired = FileValue::Member::Required;
    whole.object({
        {"name", kRequired,
         [&](const FileValue& value) { read.name = value.filledText(kLongestText); }},
        {"start", kRequired, [&](const FileValue& value) { read.start = startPage(value); }},
        {"privileges", kRequired,
         [&](const FileValue& value) {
             value.array([&](const FileValue& one) { read.privileges.insert(privilege(one)); });
         }},
    });
    return read;
}

}  // namespace

ApplicationManifest readManifest(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::exists(path, error) && !error) {
        throw ManifestError(path + ": no such file; the least that it holds is " + kLeast);
    }
    try {
        return parseManifest(base::readFile(path), path);
    } catch (const base::FileError& mistakes) {
        throw ManifestError(mistakes.what());
    }
}

ApplicationManifest parseManifest(std::string_view json, const std::string& name) {
    try {
        ApplicationManifest read;
        FileValue::readAll(name, json, [&](const FileValue& whole) { read = manifest(whole); });
        return read;
    } catch (const base::FileError& mistakes) {
        throw ManifestError(mistakes.what());
    }
}

std::string privilegeIdentifier(const std::string& name) {
    if (name.find("://") != std::string::npos) return name;
    for (const char* known : {"sso.partner", "sso.platform", "sso.public"}) {
        if (name == known || "sso." + name == known) return std::string(kPrivilegePath) + known;
    }
    constexpr std::size_t kLongestShown = 64;
    const std::string shown =
        name.size() <= kLongestShown ? name : name.substr(0, kLongestShown) + "...";
    // Quoted as JSON, which keeps line ends out of the message.
    using nlohmann::json;
    throw ManifestError("unknown privilege " +
                        json(shown).dump(-1, ' ', true, json::error_handler_t::replace) +
                        "; known are sso.partner, sso.platform and sso.public, also without sso., "
                        "and full identifiers (URLs)");
}

}  // namespace embedder
