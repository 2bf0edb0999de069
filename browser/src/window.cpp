#include "src/window.h"

#include <QWebEngineSettings>
#include <utility>

namespace browser {

Window::Window(QWebEngineProfile* profile, const Application& application, QSize size,
               std::function<void(bool)> onLoaded, std::function<void(const QString&)> onPageEnd)
    : m_start(application.start), m_page(profile) {
    QWebEngineSettings* settings = m_page.settings();
    settings->setAttribute(QWebEngineSettings::PluginsEnabled, true);
    // A page that fails to load is told on stderr; the engine's own page would count as loaded.
    settings->setAttribute(QWebEngineSettings::ErrorPageEnabled, false);
    m_view.setPage(&m_page);
    m_view.resize(size);

    const QString name = QString::fromStdString(application.told.name);
    m_view.setWindowTitle(name);
    QObject::connect(&m_page, &QWebEnginePage::titleChanged, [this, name](const QString& title) {
        m_view.setWindowTitle(title.isEmpty() ? name : title);
    });
    QObject::connect(&m_page, &QWebEnginePage::loadFinished,
                     [this, told = std::move(onLoaded)](bool succeeded) {
                         // Later ones are of pages to which this one went on.
                         if (!std::exchange(m_loaded, true)) told(succeeded);
                     });
    QObject::connect(
        &m_page, &QWebEnginePage::renderProcessTerminated,
        [told = std::move(onPageEnd)](QWebEnginePage::RenderProcessTerminationStatus, int code) {
            told(QStringLiteral("the page's process ended, code %1").arg(code));
        });
}

void Window::start() {
    m_page.load(m_start);
    m_view.show();
}

}  // namespace browser
