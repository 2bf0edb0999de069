#include "src/runner.h"

#include <QCoreApplication>
#include <QPixmap>
#include <QWebEngineSettings>
#include <cmath>
#include <cstdio>
#include <utility>

#include "src/start_error.h"

namespace browser {
namespace {

constexpr double kScreenshotDelay = 1;  // seconds, when the browser stays

int milliseconds(double seconds) { return static_cast<int>(std::lround(seconds * 1000)); }

void complain(const QString& line) { std::fprintf(stderr, "%s\n", qUtf8Printable(line)); }

QString nameOf(const std::filesystem::path& path) {
    return QString::fromStdString(path.filename().string());
}

}  // namespace

Runner::Runner(const Options& options, const Application& application,
               std::optional<QString> script)
    : m_options(options), m_start(application.start), m_page(&m_profile) {
    QWebEngineSettings* settings = m_page.settings();
    settings->setAttribute(QWebEngineSettings::PluginsEnabled, true);
    // A page that fails to load is told on stderr; the engine's own page would count as loaded.
    settings->setAttribute(QWebEngineSettings::ErrorPageEnabled, false);
    m_view.setPage(&m_page);
    m_view.resize(options.width, options.height);
    if (script) m_script.emplace(m_page, nameOf(options.script), *script);

    const QString name = QString::fromStdString(application.name);
    m_view.setWindowTitle(name);
    QObject::connect(&m_page, &QWebEnginePage::titleChanged, [this, name](const QString& title) {
        m_view.setWindowTitle(title.isEmpty() ? name : title);
    });
    QObject::connect(&m_page, &QWebEnginePage::loadFinished,
                     [this](bool succeeded) { onLoaded(succeeded); });
    QObject::connect(&m_page, &QWebEnginePage::renderProcessTerminated,
                     [this](QWebEnginePage::RenderProcessTerminationStatus, int code) {
                         fail(QStringLiteral("the page's process ended, code %1").arg(code));
                     });
    m_timer.setSingleShot(true);
}

void Runner::start() {
    m_page.load(m_start);
    m_view.show();
}

void Runner::onLoaded(bool succeeded) {
    if (std::exchange(m_loaded, true)) return;  // the page went on to another one
    if (!succeeded) return fail(m_start.toDisplayString() + QStringLiteral(" cannot be loaded"));
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
    if (m_view.grab().save(file, "PNG")) return true;
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
