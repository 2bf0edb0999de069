#include "src/runner.h"

#include <QCoreApplication>
#include <QPixmap>
#include <cmath>
#include <cstdio>
#include <utility>

#include "src/exit_code.h"

namespace browser {
namespace {

constexpr double kScreenshotDelay = 1;  // seconds, when the browser stays

int milliseconds(double seconds) { return static_cast<int>(std::lround(seconds * 1000)); }

void complain(const QString& line) { std::fprintf(stderr, "%s\n", qUtf8Printable(line)); }

QString nameOf(const std::filesystem::path& path) {
    return QString::fromStdString(path.filename().string());
}

}  // namespace

Runner::Runner(const Options& options, const std::vector<Application>& applications,
               std::optional<QString> script)
    : m_options(options), m_profile(options.profile) {
    for (const Application& application : applications) {
        m_windows.push_back(std::make_unique<Window>(
            &m_profile.engineProfile(), application, QSize(options.width, options.height),
            [this, window = m_windows.size(), start = application.start](bool succeeded) {
                onLoaded(window, start, succeeded);
            },
            [this](const QString& line) { fail(line); }));
    }
    if (script) m_script.emplace(m_windows.front()->page(), nameOf(options.script), *script);
    m_timer.setSingleShot(true);
}

void Runner::start() {
    for (const auto& window : m_windows) window->start();
}

void Runner::onLoaded(std::size_t window, const QUrl& start, bool succeeded) {
    if (!succeeded) return fail(start.toDisplayString() + QStringLiteral(" cannot be loaded"));
    if (window != 0) return;
    if (!m_script) return waitForEnd();
    m_script->run([this](const PageScript::End& end) { onScriptEnd(end); });
}

void Runner::onScriptEnd(const PageScript::End& end) {
    if (!end.succeeded) {
        complain(QStringLiteral("script error: ") + end.text);
        return quit(kExitFailed);
    }
    printLine(QStringLiteral("result: ") + end.text);
    waitForEnd();
}

void Runner::waitForEnd() {
    if (m_options.quitAfter) {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { quit(0); });
        m_timer.start(milliseconds(*m_options.quitAfter));
    } else if (!m_options.screenshot.empty()) {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { takeScreenshot(); });
        m_timer.start(milliseconds(kScreenshotDelay));
    }
}

bool Runner::takeScreenshot() {
    if (m_options.screenshot.empty()) return true;
    const QString file = QString::fromStdString(m_options.screenshot.string());
    if (m_windows.front()->view().grab().save(file, "PNG")) return true;
    complain(QStringLiteral("sso-browser: the screenshot %1 cannot be written").arg(file));
    return false;
}

void Runner::quit(int exitCode) {
    const bool written = takeScreenshot();
    QCoreApplication::exit(written ? exitCode : kExitFailed);
}

void Runner::fail(const QString& line) {
    complain(QStringLiteral("sso-browser: ") + line);
    QCoreApplication::exit(kExitFailed);
}

}  // namespace browser
