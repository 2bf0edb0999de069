#ifndef BROWSER_CONSOLE_H_
#define BROWSER_CONSOLE_H_

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QWebEnginePage>
#include <QWebEngineScript>
#include <functional>

namespace browser {

/// What pages write to their consoles and what goes wrong in them, as lines of stdout: each entry
/// whole, in one line, with a mark in front; or as a JSON object {"level", "text", "arguments",
/// "file", "line"}. All pages of the browser have one. The thread of the event loop.
class Console {
  public:
    enum class Form { Text, Json };

    explicit Console(Form form);

    /// For every document, before its own scripts: makes objects readable and tells of failures. See
    /// page/prelude.js.
    QWebEngineScript prelude() const;

    /// What the engine says of a page.
    void onMessage(QWebEnginePage::JavaScriptConsoleMessageLevel level, const QString& message,
                   int line, const QString& source);

    /// An entry of the browser's own, about a page. @param mark  such as "dialog".
    void add(const QString& mark, const QString& text);

    /// Looks at an uncaught error of the engine first.
    ///
    /// @return whether it is the one that was looked for, and nobody else's business.
    using ErrorFilter =
        std::function<bool(const QString& message, int line, const QString& source)>;

    /// @param filter  null for none.
    void setErrorFilter(ErrorFilter filter);

    int uncaughtErrors() const { return m_uncaughtErrors; }
    int failedResources() const { return m_failedResources; }

  private:
    struct Entry {
        QString level;
        QString text;
        QString file;
        int line = 0;
        QJsonArray arguments;
    };

    void onPrelude(const QJsonObject& message);
    void onEngine(QWebEnginePage::JavaScriptConsoleMessageLevel level, const QString& message,
                  int line, const QString& source);
    void write(const Entry& entry) const;

    const Form m_form;
    const QString m_key;  ///< pages do not know it, so what has it comes from the prelude
    ErrorFilter m_errorFilter;
    QString m_stack;  ///< of the uncaught error that the engine tells next
    QString m_echo;   ///< the uncaught error of a worker that the engine tells once more
    bool m_skipsNext = false;
    int m_uncaughtErrors = 0;
    int m_failedResources = 0;
};

}  // namespace browser

#endif
