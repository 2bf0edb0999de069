#include "src/console.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>
#include <QUuid>
#include <utility>

#include "prelude_text.h"
#include "src/output.h"

namespace browser {
namespace {

constexpr char kObject[] = "#<Object>";

/// " (demo.js:12)", or nothing when nobody knows.
QString location(const QString& file, int line) {
    if (file.isEmpty()) return {};
    const QString name = QUrl(file).fileName();
    return QStringLiteral(" (%1:%2)").arg(name.isEmpty() ? file : name).arg(line);
}

QString levelName(QWebEnginePage::JavaScriptConsoleMessageLevel level) {
    switch (level) {
        case QWebEnginePage::InfoMessageLevel:
            break;
        case QWebEnginePage::WarningMessageLevel:
            return QStringLiteral("warn");
        case QWebEnginePage::ErrorMessageLevel:
            return QStringLiteral("error");
    }
    return QStringLiteral("log");
}

}  // namespace

Console::Console(Form form) : m_form(form), m_key(QUuid::createUuid().toString(QUuid::Id128)) {}

QWebEngineScript Console::prelude() const {
    QString source = QString::fromUtf8(kPreludeText);
    source.replace(QStringLiteral("@KEY@"), m_key);
    source.replace(QStringLiteral("@WANTS_ARGUMENTS@"),
                   m_form == Form::Json ? QStringLiteral("true") : QStringLiteral("false"));
    QWebEngineScript script;
    script.setName(QStringLiteral("prelude"));
    script.setSourceCode(source);
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::MainWorld);
    script.setRunsOnSubFrames(true);
    return script;
}

void Console::onMessage(QWebEnginePage::JavaScriptConsoleMessageLevel level, const QString& message,
                        int line, const QString& source) {
    const int begin = message.indexOf(m_key);
    if (begin < 0) return onEngine(level, message, line, source);
    const int text = begin + m_key.size();
    const int end = message.indexOf(m_key, text);
    onPrelude(QJsonDocument::fromJson(message.mid(text, end - text).toUtf8()).object());
}

void Console::onPrelude(const QJsonObject& message) {
    const QString kind = message[QLatin1String("kind")].toString();
    const QString text = message[QLatin1String("text")].toString();
    if (kind == QLatin1String("entry")) {
        write({message[QLatin1String("level")].toString(), text,
               message[QLatin1String("file")].toString(), message[QLatin1String("line")].toInt(),
               message[QLatin1String("arguments")].toArray()});
    } else if (kind == QLatin1String("stack")) {
        m_stack = text;
    } else if (kind == QLatin1String("echo")) {
        m_echo = text;
    } else if (kind == QLatin1String("skip")) {
        m_skipsNext = true;
    } else if (kind == QLatin1String("resource")) {
        ++m_failedResources;
        const QString why = message[QLatin1String("why")].toString();
        write({QStringLiteral("error"),
               message[QLatin1String("what")].toString() + QLatin1Char(' ') +
                   message[QLatin1String("url")].toString() + QStringLiteral(" failed to load") +
                   (why.isEmpty() ? QString() : QStringLiteral(": ") + why),
               {},
               0,
               {}});
    }
}

void Console::onEngine(QWebEnginePage::JavaScriptConsoleMessageLevel level, const QString& message,
                       int line, const QString& source) {
    if (std::exchange(m_skipsNext, false)) return;
    const bool isUncaught = level == QWebEnginePage::ErrorMessageLevel &&
                            message.startsWith(QLatin1String("Uncaught "));
    if (isUncaught && !m_echo.isEmpty() && message == std::exchange(m_echo, {})) return;
    if (isUncaught && m_errorFilter && m_errorFilter(message, line, source)) return;
    QString text = message;
    if (isUncaught) {
        ++m_uncaughtErrors;
        const QString stack = std::exchange(m_stack, {});
        const int frames = stack.indexOf(QStringLiteral("\n    at "));
        if (frames >= 0) text += stack.mid(frames);
        // The engine knows no text for objects.
        const QString object = QString::fromLatin1(kObject);
        if (text.endsWith(object)) text = text.left(text.size() - object.size()) + stack;
    }
    write({levelName(level), text, source, line, {}});
}

void Console::add(const QString& mark, const QString& text) { write({mark, text, {}, 0, {}}); }

void Console::setErrorFilter(ErrorFilter filter) { m_errorFilter = std::move(filter); }

void Console::write(const Entry& entry) const {
    const bool isOwn = entry.level == QLatin1String("dialog");
    if (m_form == Form::Text) {
        const bool isPlaced =
            entry.level == QLatin1String("warn") || entry.level == QLatin1String("error");
        return printLine((isOwn ? QString() : QStringLiteral("console.")) + entry.level +
                         QStringLiteral(": ") + entry.text +
                         (isPlaced ? location(entry.file, entry.line) : QString()));
    }
    QJsonObject object = {{QStringLiteral("level"), entry.level},
                          {QStringLiteral("text"), entry.text},
                          {QStringLiteral("arguments"), entry.arguments}};
    if (!entry.file.isEmpty()) {
        object[QStringLiteral("file")] = entry.file;
        object[QStringLiteral("line")] = entry.line;
    }
    printLine(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
}

}  // namespace browser
