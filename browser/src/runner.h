#ifndef BROWSER_RUNNER_H_
#define BROWSER_RUNNER_H_

#include <QString>
#include <QTimer>
#include <memory>
#include <optional>
#include <vector>

#include "src/application.h"
#include "src/options.h"
#include "src/page_script.h"
#include "src/profile.h"
#include "src/window.h"

namespace browser {

/// The windows, one for each application, and what happens in the first: load, script, waiting,
/// screenshot, end. All on the thread of the event loop, which it ends with the program's exit code.
class Runner {
  public:
    /// @param script  what --run-script names, already read; nothing without that option.
    Runner(const Options& options, const std::vector<Application>& applications,
           std::optional<QString> script);
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    /// Shows the windows and begins to load their pages.
    void start();

  private:
    void onLoaded(std::size_t window, const QUrl& start, bool succeeded);
    void onScriptEnd(const PageScript::End& end);
    void waitForEnd();
    /// Writes the screenshot, when one is wanted. False, after a line on stderr, when that fails.
    bool takeScreenshot();
    /// Ends the program, after the screenshot.
    void quit(int exitCode);
    void fail(const QString& line);

    const Options m_options;
    Profile m_profile;
    std::vector<std::unique_ptr<Window>> m_windows;
    std::optional<PageScript> m_script;
    QTimer m_timer;
};

}  // namespace browser

#endif
