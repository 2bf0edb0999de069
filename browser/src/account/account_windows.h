#ifndef BROWSER_ACCOUNT_ACCOUNT_WINDOWS_H_
#define BROWSER_ACCOUNT_ACCOUNT_WINDOWS_H_

#include <QString>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "src/account/account_link.h"
#include "src/account/account_window.h"

namespace browser {

/// The open windows of the account service, one for each popup. The thread of the event loop.
class AccountWindows {
  public:
    /// Makes this browser the agent of the state's popups. See AccountLink.
    ///
    /// @param below  gives what is on the screen, over which the next is shown; may give null.
    /// @param pictures  folder for a picture of each window, made when something is pressed in it; empty for none.
    /// @param unreachable  is called when the service cannot be reached, before it is tried again.
    AccountWindows(const std::string& address, const std::string& state, std::string key,
                   std::function<QWidget*()> below, std::filesystem::path pictures,
                   std::function<void()> unreachable);
    ~AccountWindows();
    AccountWindows(const AccountWindows&) = delete;
    AccountWindows& operator=(const AccountWindows&) = delete;

    AccountLink& link() { return m_link; }

  private:
    /// Opens a popup's window, or shows another page in the one that it has.
    void open(PopupNumber popup, const QString& title, const QString& html);
    void takeAway(PopupNumber popup);
    void fill(PopupNumber popup, const Texts& fields, bool press);
    void takeAwayAll();
    AccountWindow::Observer observerOf(PopupNumber popup);
    void takePicture(PopupNumber popup);

    const std::function<QWidget*()> m_below;
    const std::filesystem::path m_pictures;
    int m_taken = 0;    ///< pictures
    QObject m_context;  ///< of what is done later
    std::map<PopupNumber, std::unique_ptr<AccountWindow>> m_windows;
    std::vector<std::unique_ptr<AccountWindow>> m_gone;  ///< from the screen
    AccountLink m_link;
};

}  // namespace browser

#endif
