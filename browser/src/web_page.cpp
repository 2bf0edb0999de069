#include "src/web_page.h"

#include <QMetaEnum>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

namespace browser {
namespace {

/// Ends in the engine's words for all pages: nothing else tells this question from a confirm().
bool isAboutLeaving(const QString& message) {
    return message.startsWith(QLatin1String("Are you sure you want to leave this page?"));
}

QString quoted(const QString& text) { return QLatin1Char('"') + text + QLatin1Char('"'); }

}  // namespace

WebPage::WebPage(const PageSetting& setting) : QWebEnginePage(setting.profile), m_setting(setting) {
    settings()->setAttribute(QWebEngineSettings::PluginsEnabled, true);
    // A page that fails to load is told on stderr; the engine's own page would count as loaded.
    settings()->setAttribute(QWebEngineSettings::ErrorPageEnabled, false);
    if (m_setting.hasPrelude) scripts().insert(m_setting.console->prelude());
    connect(this, &QWebEnginePage::featurePermissionRequested, this, &WebPage::onPermissionAsked);
}

void WebPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message,
                                       int line, const QString& source) {
    m_setting.console->onMessage(level, message, line, source);
}

void WebPage::tell(const QString& question, const QString& answer) const {
    m_setting.console->add(QStringLiteral("dialog"), question + QStringLiteral(" -> ") + answer);
}

void WebPage::javaScriptAlert(const QUrl& origin, const QString& message) {
    if (!answersItself()) return QWebEnginePage::javaScriptAlert(origin, message);
    tell(QStringLiteral("alert ") + quoted(message), QStringLiteral("closed"));
}

bool WebPage::javaScriptConfirm(const QUrl& origin, const QString& message) {
    if (!answersItself()) return QWebEnginePage::javaScriptConfirm(origin, message);
    if (isAboutLeaving(message)) {
        tell(QStringLiteral("beforeunload"),
             accepts() ? QStringLiteral("left") : QStringLiteral("stayed"));
    } else {
        tell(QStringLiteral("confirm ") + quoted(message),
             accepts() ? QStringLiteral("accepted") : QStringLiteral("dismissed"));
    }
    return accepts();
}

bool WebPage::javaScriptPrompt(const QUrl& origin, const QString& message, const QString& proposal,
                               QString* answer) {
    if (!answersItself()) {
        return QWebEnginePage::javaScriptPrompt(origin, message, proposal, answer);
    }
    *answer = proposal;
    tell(QStringLiteral("prompt ") + quoted(message),
         accepts() ? QStringLiteral("accepted with ") + quoted(proposal)
                   : QStringLiteral("dismissed"));
    return accepts();
}

QStringList WebPage::chooseFiles(FileSelectionMode mode, const QStringList& before,
                                 const QStringList& types) {
    if (!answersItself()) return QWebEnginePage::chooseFiles(mode, before, types);
    tell(QStringLiteral("choice of a file"), QStringLiteral("none"));
    return {};
}

void WebPage::onPermissionAsked(const QUrl& origin, Feature feature) {
    const QString name =
        QString::fromLatin1(QMetaEnum::fromType<Feature>().valueToKey(static_cast<int>(feature)));
    // Also with a person: a tool for an application that one knows need not ask.
    tell(QStringLiteral("permission ") + name,
         accepts() ? QStringLiteral("granted") : QStringLiteral("denied"));
    setFeaturePermission(origin, feature,
                         accepts() ? PermissionGrantedByUser : PermissionDeniedByUser);
}

QWebEnginePage* WebPage::createWindow(WebWindowType) { return m_setting.openWindow(); }

}  // namespace browser
