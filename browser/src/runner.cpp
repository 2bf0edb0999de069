#include "src/runner.h"

#include <QCoreApplication>
#include <QPixmap>
#include <QStringList>
#include <cmath>
#include <utility>

#include "src/exit_code.h"
#include "src/later.h"
#include "src/output.h"

namespace browser {
namespace {

constexpr double kScreenshotDelay = 1;  // seconds, when the browser stays
constexpr int kStrictDelay = 100;       // milliseconds
constexpr int kCloseDelay = 2000;       // milliseconds; a busy machine took more than 200
constexpr double kScriptTimeout = 60;   // seconds

int milliseconds(double seconds) { return static_cast<int>(std::lround(seconds * 1000)); }

/// "2 uncaught errors", added to a list when there are any.
void count(QStringList& list, int number, const char* one, const char* several) {
    if (number == 0) return;
    list << QStringLiteral("%1 %2").arg(number).arg(QLatin1String(number == 1 ? one : several));
}

}  // namespace

Runner::Runner(const Options& options, const std::vector<Application>& applications,
               Dialogs dialogs, std::vector<Script> scripts, PluginWatch& plugin)
    : m_options(options),
      m_applications(applications),
      m_scripts(std::move(scripts)),
      m_plugin(plugin),
      m_console(options.console),
      m_profile(options.profile) {
    PageSetting setting = {
        &m_profile.engineProfile(), &m_console, dialogs, !m_options.devtools, {}};
    setting.openWindow = [this, setting] { return openWindow(setting); };
    for (std::size_t i = 0; i < m_applications.size(); ++i) {
        m_windows.push_back(
            std::make_unique<Window>(setting, QString::fromStdString(m_applications[i].told.name),
                                     QSize(m_options.width, m_options.height), observerOf(i)));
    }
    m_timer.setSingleShot(true);
    m_timeout.setSingleShot(true);
    QObject::connect(&m_timeout, &QTimer::timeout, [this] { onTimeout(); });
}

Window::Observer Runner::observerOf(std::size_t window) {
    return {[this, window](bool succeeded) { onLoaded(window, succeeded); },
            [this](const QString& line) { fail(line); }, [this, window] { onClosed(window); }};
}

QWebEnginePage* Runner::openWindow(const PageSetting& setting) {
    PageSetting own = setting;
    own.openWindow = [this, setting] { return openWindow(setting); };
    const auto popup = m_popups.emplace(m_popups.end());
    Window::Observer observer;
    observer.onClosed = [this, popup] {
        later(m_timer, 0, [this, popup] { m_popups.erase(popup); });
    };
    *popup = std::make_unique<Window>(own, QStringLiteral("sso-browser"),
                                      QSize(m_options.width, m_options.height), observer);
    (*popup)->show({});
    return &(*popup)->page();
}

void Runner::start() {
    const bool hasScript = !m_scripts.empty();
    if (m_options.timeout || hasScript) {
        m_timeout.start(milliseconds(m_options.timeout.value_or(kScriptTimeout)));
    }
    m_awaited = m_applications.front().start.toDisplayString() + QStringLiteral(" to be loaded");
    for (std::size_t i = 0; i < m_windows.size(); ++i) m_windows[i]->show(m_applications[i].start);
}

QWidget* Runner::frontPage() const {
    QWidget* front = nullptr;
    for (const auto& window : m_windows) {
        const QMainWindow& frame = window->frame();
        if (window->isClosed()) continue;
        if (front == nullptr || frame.isActiveWindow()) front = frame.centralWidget();
    }
    return front;
}

void Runner::onLoaded(std::size_t window, bool succeeded) {
    const Application& application = m_applications[window];
    const QString address = application.start.toDisplayString();
    const bool isAsked = application.folder.empty() && !application.origin.isEmpty();
    // A page that is an error of its server counts as loaded to the engine.
    if (isAsked) {
        return m_probe.ask(application.start, [this, window, succeeded, address](auto& reason) {
            const bool isThere =
                succeeded && !reason.startsWith(QLatin1String("the server answers"));
            if (isThere && window == 0) return onFirstPage();
            if (isThere) return;
            fail(address + QStringLiteral(" cannot be loaded") +
                 (reason.isEmpty() ? QString() : QStringLiteral(": ") + reason));
        });
    }
    if (succeeded) {
        if (window == 0) onFirstPage();
        return;
    }
    // A page that closes its window while it is loaded is no failure; that is told a moment later.
    later(m_timer, kCloseDelay, [this, window, address] {
        if (!m_windows[window]->isClosed()) fail(address + QStringLiteral(" cannot be loaded"));
    });
}

void Runner::onFirstPage() {
    if (m_scripts.empty()) return waitForEnd();
    runNextScript();
}

void Runner::runNextScript() {
    const Script& script = m_scripts[m_nextScript++];
    m_awaited = QStringLiteral("the end of the script ") + script.name;
    m_script = std::make_unique<PageScript>(m_windows.front()->page(), m_console, script.name,
                                            script.body);
    m_runsScript = true;
    m_script->run([this](const PageScript::End& end) { onScriptEnd(end); });
}

void Runner::onScriptEnd(const PageScript::End& end) {
    m_runsScript = false;
    if (!end.succeeded) {
        takeScreenshot();
        return fail(QStringLiteral("script error: ") + end.text);
    }
    printLine(QStringLiteral("result: ") + end.text);
    if (m_nextScript == m_scripts.size()) return waitForEnd();
    // Not from inside the script that is to go.
    later(m_timer, 0, [this] { runNextScript(); });
}

void Runner::onClosed(std::size_t window) {
    if (window == 0 && (m_runsScript || m_nextScript < m_scripts.size())) {
        return fail(QStringLiteral("the window was closed; still awaited: ") + m_awaited);
    }
    for (const auto& other : m_windows) {
        if (!other->isClosed()) return;
    }
    finish();
}

void Runner::onTimeout() {
    m_plugin.catchUp();
    const QStringList requests = m_plugin.unanswered();
    complain(QStringLiteral("not done after %1 s; still awaited: %2%3")
                 .arg(m_options.timeout.value_or(kScriptTimeout))
                 .arg(m_awaited, requests.isEmpty() ? QString()
                                                    : QStringLiteral("; answers to ") +
                                                          requests.join(QStringLiteral(", "))));
    takeScreenshot();  // what hangs is seen there, if anywhere
    end(kExitTimeout);
}

void Runner::waitForEnd() {
    const bool stays = m_options.stay || m_scripts.empty();
    m_awaited = QStringLiteral("the end of --quit-after");
    if (m_options.quitAfter) {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { finish(); });
        m_timer.start(milliseconds(*m_options.quitAfter));
    } else if (!stays) {
        finish();
    } else {
        m_awaited = QStringLiteral("somebody to close the window");
        if (m_options.screenshot.empty()) return;
        QObject::connect(&m_timer, &QTimer::timeout, [this] { takeScreenshot(); });
        m_timer.start(milliseconds(kScreenshotDelay));
    }
}

bool Runner::takeScreenshot() {
    if (m_options.screenshot.empty()) return true;
    const QString file = QString::fromStdString(m_options.screenshot.string());
    if (m_windows.front()->frame().grab().save(file, "PNG")) return true;
    complain(QStringLiteral("the screenshot %1 cannot be written").arg(file));
    return false;
}

QString Runner::faults() const {
    QStringList found;
    count(found, m_console.uncaughtErrors(), "uncaught error", "uncaught errors");
    count(found, m_console.failedResources(), "resource that failed to load",
          "resources that failed to load");
    found << m_plugin.faults();
    return found.join(QStringLiteral(", "));
}

void Runner::finish() {
    if (!takeScreenshot()) return end(kExitFailed);
    if (!m_options.strict) return conclude();
    // What a page has just sent may still be on its way.
    later(m_timer, kStrictDelay, [this] { conclude(); });
}

void Runner::conclude() {
    m_plugin.catchUp();
    if (!outputWorks() || !m_plugin.works()) return end(kExitFailed);
    const QString found = m_options.strict ? faults() : QString();
    if (found.isEmpty()) return end(0);
    complain(QStringLiteral("--strict: ") + found);
    end(kExitStrict);
}

void Runner::fail(const QString& line) {
    if (m_isEnding) return;
    complain(line);
    end(kExitFailed);
}

void Runner::end(int exitCode) {
    if (std::exchange(m_isEnding, true)) return;
    QCoreApplication::exit(exitCode);
}

}  // namespace browser
