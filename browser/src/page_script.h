#ifndef BROWSER_PAGE_SCRIPT_H_
#define BROWSER_PAGE_SCRIPT_H_

#include <QString>
#include <QTimer>
#include <QWebEnginePage>
#include <functional>

#include "src/console.h"

namespace browser {

/// A script that runs in a page as the body of an async function.
class PageScript {
  public:
    struct End {
        bool succeeded;
        QString text;  ///< the returned value as JSON, or what was thrown, in one line
    };

    /// @param page     must outlive the object, as must the console.
    /// @param name     by which messages of the engine call the script.
    PageScript(QWebEnginePage& page, Console& console, const QString& name, const QString& body);
    ~PageScript();
    PageScript(const PageScript&) = delete;
    PageScript& operator=(const PageScript&) = delete;

    /// Starts the script. `done` is called once, unless the object goes first.
    void run(std::function<void(const End&)> done);

  private:
    void poll();
    void onSyntaxError();
    void end(const End& end);

    QWebEnginePage& m_page;
    Console& m_console;
    const QString m_name;
    const int m_lines;
    QString m_key;  ///< under which the page's window keeps the end of the script
    QString m_runner;
    QString m_program;
    QString m_syntaxError;  ///< what the engine's console says of the program
    int m_patience;         ///< with the console, in polls
    std::function<void(const End&)> m_done;
    QTimer m_timer;
};

}  // namespace browser

#endif
