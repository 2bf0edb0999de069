#ifndef BROWSER_WINDOW_H_
#define BROWSER_WINDOW_H_

#include <QMainWindow>
#include <QWebEngineView>
#include <functional>
#include <memory>

#include "src/web_page.h"

namespace browser {

/// A window with a page in it. The thread of the event loop.
class Window {
  public:
    /// Who is told what; may be empty.
    struct Observer {
        std::function<void(bool succeeded)> onLoaded;           ///< of the first page alone
        std::function<void(const QString& line)> onProcessEnd;  ///< of the page's process
        std::function<void()> onClosed;                         ///< by its page or a person
    };

    /// @param name  stands for the title of a page that has none.
    Window(const PageSetting& setting, const QString& name, QSize size, Observer observer);
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    /// Shows the window. @param start  what to load; empty when the page knows.
    void show(const QUrl& start);

    bool isClosed() const { return m_isClosed; }
    WebPage& page() { return m_page; }
    QMainWindow& frame();

    /// Puts a panel beside the page, which F9 shows and hides.
    void addPanel(std::unique_ptr<QWidget> panel, bool isShown);

  private:
    class Frame;
    class View;

    void addKeys();
    template <typename Action>
    void addKey(const char* keys, Action action);
    void showInspector();
    void toggleInspector();

    Observer m_observer;
    bool m_loaded = false;
    bool m_isClosed = false;
    // In this order, so that the views go before the page.
    WebPage m_page;
    std::unique_ptr<Frame> m_frame;
    View* m_view;  ///< in the frame
    std::unique_ptr<QWebEngineView> m_inspector;
};

}  // namespace browser

#endif
