#include "src/web_page.h"

#include <cstdio>
#include <utility>

namespace browser {
namespace {

/// " (demo.js:12)", or nothing when the engine does not know.
QString location(const QString& source, int line) {
    if (source.isEmpty()) return {};
    const QString name = QUrl(source).fileName();
    return QStringLiteral(" (%1:%2)").arg(name.isEmpty() ? source : name).arg(line);
}

/// The place of the application that a page belongs to, empty for none: of several folders around
/// the page the innermost, which has the longest path.
QUrl placeOf(const QUrl& page, const std::vector<QUrl>& places) {
    QUrl innermost;
    for (const QUrl& place : places) {
        if (place.isParentOf(page.adjusted(QUrl::NormalizePathSegments)) &&
            place.path().size() > innermost.path().size()) {
            innermost = place;
        }
    }
    return innermost;
}

}  // namespace

WebPage::WebPage(QWebEngineProfile* profile, std::vector<QUrl> places)
    : QWebEnginePage(profile), m_places(std::move(places)) {}

// To the engine all local pages are of one origin: one that shows another application's page in a
// frame could reach into it, and use the plug-in there with that application's privileges.
bool WebPage::acceptNavigationRequest(const QUrl& target, NavigationType type, bool isMainFrame) {
    const QUrl place = target.isLocalFile() ? placeOf(target, m_places) : QUrl();
    if (isMainFrame || place.isEmpty() || place == placeOf(url(), m_places)) {
        return QWebEnginePage::acceptNavigationRequest(target, type, isMainFrame);
    }
    printLine(QStringLiteral("console.error: a page of another application cannot be shown in a "
                             "frame: ") +
              target.toDisplayString());
    return false;
}

void printLine(const QString& text) {
    const QByteArray bytes = text.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

void WebPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message,
                                       int line, const QString& source) {
    switch (level) {
        case InfoMessageLevel:
            return printLine(QStringLiteral("console.log: ") + message);
        case WarningMessageLevel:
            return printLine(QStringLiteral("console.warn: ") + message);
        case ErrorMessageLevel:
            return printLine(QStringLiteral("console.error: ") + message + location(source, line));
    }
}

}  // namespace browser
