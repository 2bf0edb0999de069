#ifndef BROWSER_WINDOW_H_
#define BROWSER_WINDOW_H_

#include <QWebEngineProfile>
#include <QWebEngineView>
#include <functional>

#include "src/application.h"
#include "src/web_page.h"

namespace browser {

/// An application in a window of its own. The thread of the event loop.
class Window {
  public:
    /// @param profile    must outlive the window.
    /// @param onLoaded   told once, when the first page has come or has failed to.
    /// @param onPageEnd  told, in one line, when the page's process has ended.
    Window(QWebEngineProfile* profile, const Application& application, QSize size,
           std::function<void(bool succeeded)> onLoaded,
           std::function<void(const QString& line)> onPageEnd);
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    /// Shows the window and begins to load the page.
    void start();

    WebPage& page() { return m_page; }
    QWebEngineView& view() { return m_view; }

  private:
    const QUrl m_start;
    bool m_loaded = false;
    // In this order, so that the view goes before its page.
    WebPage m_page;
    QWebEngineView m_view;
};

}  // namespace browser

#endif
