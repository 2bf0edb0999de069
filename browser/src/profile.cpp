#include "src/profile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <QString>
#include <system_error>

#include "embedder/input_error.h"

namespace browser {
namespace {

/// The folder's own lock, so that nothing lies about when this process is killed.
int lockFolder(const std::filesystem::path& folder) {
    const auto fail = [&](const std::string& why) {
        throw embedder::InputError("the profile " + folder.string() + " " + why);
    };
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const int opened = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (opened < 0 || access(folder.c_str(), W_OK) != 0) fail("is no folder that can be written");
    if (flock(opened, LOCK_EX | LOCK_NB) != 0) fail("is in use by another sso-browser");
    return opened;
}

}  // namespace

Profile::Profile(const std::filesystem::path& folder) {
    if (folder.empty()) {
        m_profile = std::make_unique<QWebEngineProfile>();  // without a name: nothing is kept
        return;
    }
    m_lock = lockFolder(folder);
    const QString path =
        QString::fromStdString(std::filesystem::absolute(folder).lexically_normal().string());
    m_profile = std::make_unique<QWebEngineProfile>(QStringLiteral("sso-browser"));
    m_profile->setPersistentStoragePath(path);
    m_profile->setCachePath(path + QStringLiteral("/cache"));
    m_profile->setHttpCacheType(QWebEngineProfile::MemoryHttpCache);
    m_profile->setPersistentCookiesPolicy(QWebEngineProfile::ForcePersistentCookies);
}

Profile::~Profile() {
    m_profile.reset();
    if (m_lock >= 0) close(m_lock);
}

}  // namespace browser
