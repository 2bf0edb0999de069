#ifndef BROWSER_RUNNER_H_
#define BROWSER_RUNNER_H_

#include <QString>
#include <QTimer>
#include <QWebEngineProfile>
#include <QWebEngineView>
#include <optional>

#include "src/application.h"
#include "src/options.h"
#include "src/page_script.h"
#include "src/web_page.h"

namespace browser {

/// The window, and what happens in it: load, script, waiting, screenshot, end. All on the thread of
/// the event loop, which it ends with the program's exit code.
class Runner {
  public:
    /// @param script  what --run-script names, already read; nothing without that option.
    Runner(const Options& options, const Application& application, std::optional<QString> script);
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    /// Shows the window and begins to load the page.
    void start();

  private:
    void onLoaded(bool succeeded);
    void onScriptEnd(const PageScript::End& end);
    void waitForEnd();
    /// Writes the screenshot, when one is wanted. False, after a line on stderr, when that fails.
    bool takeScreenshot();
    /// Ends the program, after the screenshot.
    void quit(int exitCode);
    void fail(const QString& line);

    const Options m_options;
    const QUrl m_start;
    // In this order, so that the view goes before its page, and the page before its profile.
    QWebEngineProfile m_profile;  // without a name: nothing is kept on disk
    WebPage m_page;
    QWebEngineView m_view;
    std::optional<PageScript> m_script;
    QTimer m_timer;
    bool m_loaded = false;
};

}  // namespace browser

#endif
