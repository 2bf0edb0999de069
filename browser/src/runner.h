#ifndef BROWSER_RUNNER_H_
#define BROWSER_RUNNER_H_

#include <QString>
#include <QTimer>
#include <list>
#include <memory>
#include <optional>
#include <vector>

#include "src/application.h"
#include "src/console.h"
#include "src/load_probe.h"
#include "src/options.h"
#include "src/page_script.h"
#include "src/plugin_watch.h"
#include "src/profile.h"
#include "src/window.h"

namespace browser {

/// What --run-script names, already read.
struct Script {
    QString name;
    QString body;
};

/// The windows, one for each application, and what happens in the first: load, scripts, waiting,
/// screenshot, end. All on the thread of the event loop, which it ends with the program's exit code.
class Runner {
  public:
    Runner(const Options& options, const std::vector<Application>& applications, Dialogs dialogs,
           std::vector<Script> scripts, PluginWatch& plugin);
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    /// Shows the windows and begins to load their pages.
    void start();

    /// The first application's.
    Window& firstWindow() { return *m_windows.front(); }

    /// The page that is in front, or else the first; null when all windows are closed.
    QWidget* frontPage() const;

  private:
    Window::Observer observerOf(std::size_t window);
    QWebEnginePage* openWindow(const PageSetting& setting);
    void onLoaded(std::size_t window, bool succeeded);
    void onFirstPage();
    void runNextScript();
    void onScriptEnd(const PageScript::End& end);
    void onClosed(std::size_t window);
    void onTimeout();
    void waitForEnd();
    /// Writes the screenshot, when one is wanted. False, after a line on stderr, when that fails.
    bool takeScreenshot();
    /// What --strict does not forgive, in words; empty for nothing.
    QString faults() const;
    /// All is done: ends the program, after the screenshot.
    void finish();
    void conclude();
    void fail(const QString& line);
    /// Ends the program, unless that was decided already.
    void end(int exitCode);

    const Options m_options;
    const std::vector<Application> m_applications;
    const std::vector<Script> m_scripts;
    PluginWatch& m_plugin;
    Console m_console;
    Profile m_profile;
    LoadProbe m_probe;
    std::vector<std::unique_ptr<Window>> m_windows;  ///< of the applications
    std::list<std::unique_ptr<Window>> m_popups;
    std::size_t m_nextScript = 0;
    std::unique_ptr<PageScript> m_script;
    QString m_awaited;  ///< what the run waits for, in words
    bool m_runsScript = false;
    bool m_isEnding = false;
    QTimer m_timeout;
    QTimer m_timer;
};

}  // namespace browser

#endif
