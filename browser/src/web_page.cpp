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

}  // namespace

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
