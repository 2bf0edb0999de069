#include "src/application.h"

#include <QString>

#include "runtime/application_manifest.h"
#include "src/start_error.h"

namespace browser {
namespace {

namespace fs = std::filesystem;

QUrl localUrl(const fs::path& path) {
    return QUrl::fromLocalFile(QString::fromStdString(fs::absolute(path).string()));
}

Application fromFolder(const Options& options) {
    const fs::path folder = options.target;
    const fs::path manifestPath =
        options.manifest.empty() ? folder / "manifest.json" : options.manifest;
    const runtime::ApplicationManifest manifest = runtime::readManifest(manifestPath.string());
    const fs::path start = folder / manifest.start;
    if (!fs::is_regular_file(start)) {
        throw StartError(kExitBadInput, manifestPath.string() + ": \"start\" names " +
                                            start.string() + ", which does not exist");
    }
    return {localUrl(start), manifest.name, manifest.privileges};
}

Application fromUrl(const Options& options) {
    const QUrl url(QString::fromStdString(options.target), QUrl::StrictMode);
    if (!url.isValid() || url.scheme().isEmpty()) {
        throw StartError(kExitBadInput, options.target + ": no such folder, and not a URL");
    }
    if (options.manifest.empty()) return {url, options.target, {}};
    const runtime::ApplicationManifest manifest = runtime::readManifest(options.manifest.string());
    return {url, manifest.name, manifest.privileges};
}

}  // namespace

Application findApplication(const Options& options) {
    try {
        std::error_code error;
        const bool isFolder = fs::is_directory(options.target, error);
        Application application = isFolder ? fromFolder(options) : fromUrl(options);
        for (const std::string& name : options.grants) {
            application.privileges.insert(runtime::privilegeIdentifier(name));
        }
        return application;
    } catch (const runtime::ManifestError& error) {
        throw StartError(kExitBadInput, error.what());
    }
}

}  // namespace browser
