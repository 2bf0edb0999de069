#ifndef BROWSER_ACCOUNT_ACCOUNT_WINDOW_H_
#define BROWSER_ACCOUNT_ACCOUNT_WINDOW_H_

#include <QJsonObject>
#include <QString>
#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

#include "src/account/window_bridge.h"
#include "src/account/window_profile.h"

class QWebChannel;
class QWebEngineView;

namespace browser {

/// A window of the account service over the page of an application. The thread of the event loop.
class AccountWindow : public QWidget {
  public:
    /// Who is told what. After closed() or failed() nothing more comes.
    struct Observer {
        /// @param answer  takes what is wrong, by the fields' names; any time, also when the window is gone.
        std::function<void(const QString& action, const QJsonObject& fields,
                           std::function<void(const QJsonObject& errors)> answer)>
            submit;
        std::function<void()> closed;  ///< by the person
        std::function<void()> failed;  ///< it cannot be shown
    };

    explicit AccountWindow(Observer observer);
    ~AccountWindow() override;

    /// Shows a page, instead of the one before.
    void load(const QString& title, const QString& html);
    /// Shows the window in the middle of another.
    void showOver(QWidget* other);
    /// Fills in fields as if typed, and then presses the form's button when `press` is true.
    void fill(const QJsonObject& fields, bool press);

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    class Page;
    struct Filling {
        QJsonObject fields;
        bool press;
    };

    void addKeys();
    void fail(const QString& why);
    /// Tells the observer that it is over, unless it knows.
    void end(std::function<void()> Observer::*how);

    const Observer m_observer;
    bool m_isOver = false;
    bool m_isReady = false;           ///< the page can be filled in
    std::vector<Filling> m_fillings;  ///< until it is
    // In this order, so that the view goes before the page, and that before what it uses.
    WindowProfile m_profile;
    std::shared_ptr<WindowBridge> m_bridge;
    std::unique_ptr<QWebChannel> m_channel;
    std::unique_ptr<Page> m_page;
    std::unique_ptr<QWebEngineView> m_view;
};

}  // namespace browser

#endif
