#include "src/application.h"

#include <QString>
#include <filesystem>
#include <set>
#include <string>

#include "embedder/application_manifest.h"

namespace browser {
namespace {

namespace fs = std::filesystem;
using embedder::InputError;

QUrl localUrl(const fs::path& path) {
    const fs::path normal = fs::absolute(path).lexically_normal();
    return QUrl::fromLocalFile(QString::fromStdString(normal.string()));
}

Application fromFolder(const fs::path& folder, const std::string& givenManifest) {
    const std::string path =
        givenManifest.empty() ? (folder / "manifest.json").string() : givenManifest;
    const embedder::ApplicationManifest manifest = embedder::readManifest(path);
    const fs::path start = folder / manifest.start;
    if (!fs::is_regular_file(start)) {
        throw InputError(path + ": \"start\" names " + start.string() + ", which does not exist");
    }
    return {localUrl(start), localUrl(folder / ""), {manifest.name, manifest.privileges}};
}

/// The folder of a local page, the origin of one from a server.
QUrl placeOf(const QUrl& page) {
    if (page.isLocalFile()) {
        return page.adjusted(QUrl::RemoveFilename | QUrl::RemoveQuery | QUrl::RemoveFragment |
                             QUrl::NormalizePathSegments);
    }
    if (page.scheme() != QLatin1String("http") && page.scheme() != QLatin1String("https")) {
        return {};
    }
    QUrl origin = page.adjusted(QUrl::RemoveUserInfo | QUrl::RemovePath | QUrl::RemoveQuery |
                                QUrl::RemoveFragment);
    origin.setPath(QStringLiteral("/"));
    return origin;
}

Application fromUrl(const std::string& target, const std::string& givenManifest) {
    const QUrl url(QString::fromStdString(target), QUrl::StrictMode);
    if (!url.isValid() || url.scheme().isEmpty()) {
        throw InputError(target + ": no such folder, and not a URL");
    }
    if (givenManifest.empty()) return {url, placeOf(url), {target, {}}};
    const embedder::ApplicationManifest manifest = embedder::readManifest(givenManifest);
    return {url, placeOf(url), {manifest.name, manifest.privileges}};
}

}  // namespace

std::vector<Application> findApplications(const Options& options) {
    std::vector<Application> applications;
    for (const std::string& target : options.targets) {
        std::error_code error;
        Application application = fs::is_directory(target, error)
                                      ? fromFolder(target, options.common.manifest)
                                      : fromUrl(target, options.common.manifest);
        if (applications.empty()) {
            std::set<std::string>& grants = application.told.grants;
            grants.insert(options.common.grants.begin(), options.common.grants.end());
        }
        if (application.place.isEmpty() && !application.told.grants.empty()) {
            throw InputError(target +
                             ": nothing can be granted to pages that are neither local nor "
                             "from a web server");
        }
        for (const Application& other : applications) {
            if (application.place == other.place && !application.place.isEmpty()) {
                throw InputError(target +
                                 ": has the same folder or origin as a target before it, "
                                 "so it is the same application");
            }
        }
        applications.push_back(std::move(application));
    }
    return applications;
}

}  // namespace browser
