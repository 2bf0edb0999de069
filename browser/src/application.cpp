#include "src/application.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QString>
#include <filesystem>
#include <set>
#include <string>

#include "embedder/application_manifest.h"

namespace browser {
namespace {

namespace fs = std::filesystem;
using embedder::InputError;

constexpr int kLongestName = 40;  // of the folder's part of a host name
constexpr int kHashLength = 8;    // hexadecimal digits

/// "demo-1f0a2b3c" of /home/me/demo: a word that can be a host's name.
QString hostNameOf(const fs::path& folder) {
    QString name;
    for (const QChar letter : QString::fromStdString(folder.filename().string()).toLower()) {
        const bool isPlain = letter.unicode() < 128 && letter.isLetterOrNumber();
        if (isPlain) name += letter;
        if (!isPlain && !name.isEmpty() && !name.endsWith(QLatin1Char('-')))
            name += QLatin1Char('-');
        if (name.size() == kLongestName) break;
    }
    while (name.endsWith(QLatin1Char('-'))) name.chop(1);
    if (name.isEmpty()) name = QStringLiteral("app");
    const QByteArray hash = QCryptographicHash::hash(QByteArray::fromStdString(folder.string()),
                                                     QCryptographicHash::Sha256);
    return name + QLatin1Char('-') + QString::fromLatin1(hash.toHex().left(kHashLength));
}

QUrl originOf(const fs::path& folder, int port) {
    QUrl origin;
    origin.setScheme(QStringLiteral("http"));
    if (port != 0) {
        origin.setHost(QStringLiteral("localhost"));
        origin.setPort(port);
    } else {
        origin.setHost(hostNameOf(folder) + QStringLiteral(".localhost"));
    }
    origin.setPath(QStringLiteral("/"));
    return origin;
}

Application fromFolder(const fs::path& given, const Options& options) {
    const std::string path = options.common.manifest.empty() ? (given / "manifest.json").string()
                                                             : options.common.manifest;
    const embedder::ApplicationManifest manifest = embedder::readManifest(path);
    const fs::path folder = fs::canonical(given);
    std::error_code error;
    const bool isName = manifest.start.find('\0') == std::string::npos;
    if (!isName || !fs::is_regular_file(given / manifest.start, error)) {
        throw InputError(path + ": \"start\" names " + (given / manifest.start.c_str()).string() +
                         (isName ? ", which does not exist" : " and a NUL, which no name holds"));
    }
    const fs::path start = fs::canonical(given / manifest.start);
    if (start.lexically_relative(folder).begin()->string() == "..") {
        throw InputError(path + ": \"start\" names a link that leads out of the folder, to " +
                         start.string());
    }
    const QUrl origin = originOf(folder, options.port);
    QUrl page = origin;
    page.setPath(QLatin1Char('/') +
                     QString::fromStdString(fs::path(manifest.start).lexically_normal().string()),
                 QUrl::DecodedMode);
    return {page, origin, folder, {manifest.name, manifest.privileges}};
}

/// Empty for a URL of a kind that has none.
QUrl originOf(const QUrl& page) {
    if (page.scheme() != QLatin1String("http") && page.scheme() != QLatin1String("https")) {
        return {};
    }
    QUrl origin = page.adjusted(QUrl::RemoveUserInfo | QUrl::RemovePath | QUrl::RemoveQuery |
                                QUrl::RemoveFragment);
    origin.setPath(QStringLiteral("/"));
    return origin;
}

QUrl readUrl(const std::string& target) {
    const QUrl url(QString::fromStdString(target), QUrl::StrictMode);
    std::error_code error;
    if (url.isLocalFile() || fs::exists(target, error)) {
        throw InputError(target + ": is a file; give the folder of the application");
    }
    const QString scheme = url.isValid() ? url.scheme() : QString();
    for (const char* known : {"http", "https", "data", "about"}) {
        if (scheme == QLatin1String(known)) return url;
    }
    // "localhost:8000" is a URL with the scheme "localhost".
    const QUrl completed(QStringLiteral("http://") + QString::fromStdString(target),
                         QUrl::StrictMode);
    const bool namesHost = completed.port() > 0 || completed.host() == QLatin1String("localhost");
    if (completed.isValid() && namesHost && target.find('/') != 0) {
        throw InputError(target + ": the scheme is missing; did you mean http://" + target + "?");
    }
    throw InputError(target + ": no such folder, and not a URL");
}

Application fromUrl(const std::string& target, const std::string& givenManifest) {
    const QUrl url = readUrl(target);
    if (givenManifest.empty()) return {url, originOf(url), {}, {target, {}}};
    const embedder::ApplicationManifest manifest = embedder::readManifest(givenManifest);
    return {url, originOf(url), {}, {manifest.name, manifest.privileges}};
}

}  // namespace

std::vector<Application> findApplications(const Options& options) {
    std::vector<Application> applications;
    for (const std::string& target : options.targets) {
        std::error_code error;
        Application application = fs::is_directory(target, error)
                                      ? fromFolder(target, options)
                                      : fromUrl(target, options.common.manifest);
        if (applications.empty()) {
            std::set<std::string>& grants = application.told.grants;
            grants.insert(options.common.grants.begin(), options.common.grants.end());
        }
        if (application.origin.isEmpty() && !application.told.grants.empty()) {
            throw InputError(target +
                             ": nothing can be granted to pages that are neither in a folder nor "
                             "from a web server");
        }
        for (const Application& other : applications) {
            if (application.origin == other.origin && !application.origin.isEmpty()) {
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
