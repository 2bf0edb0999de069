#ifndef BROWSER_PROFILE_H_
#define BROWSER_PROFILE_H_

#include <QWebEngineProfile>
#include <filesystem>
#include <memory>

namespace browser {

/// What pages store: cookies, local storage, data bases.
class Profile {
  public:
    /// @param folder  that keeps it between runs, made when it is not there; empty for nothing kept.
    /// @throws embedder::InputError  when it cannot be used, or another browser uses it.
    explicit Profile(const std::filesystem::path& folder);
    ~Profile();
    Profile(const Profile&) = delete;
    Profile& operator=(const Profile&) = delete;

    QWebEngineProfile& engineProfile() { return *m_profile; }

  private:
    int m_lock = -1;  ///< of the folder, while this process lives
    std::unique_ptr<QWebEngineProfile> m_profile;
};

}  // namespace browser

#endif
