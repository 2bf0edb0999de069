#ifndef BROWSER_ACCOUNT_WINDOW_PROFILE_H_
#define BROWSER_ACCOUNT_WINDOW_PROFILE_H_

#include <QByteArray>
#include <QUrl>
#include <QWebEngineProfile>
#include <memory>

namespace browser {

/// Makes the scheme known under which the account's windows have their pages. Before the application object exists.
void registerWindowScheme();

/// Where one account's window has its page: a profile that keeps nothing, that no other page shares, and
/// that reaches nothing but this page.
class WindowProfile : public QWebEngineProfile {
  public:
    WindowProfile();
    ~WindowProfile() override;

    /// Serves another page from now on. @return where.
    QUrl serve(const QByteArray& html);

  private:
    class Handler;
    class Guard;

    // Not children of the profile, which would outlive it.
    std::unique_ptr<Handler> m_handler;
    std::unique_ptr<Guard> m_guard;
    int m_served = 0;
};

}  // namespace browser

#endif
