#ifndef BROWSER_PAGE_SCRIPT_H_
#define BROWSER_PAGE_SCRIPT_H_

#include <QString>
#include <QTimer>
#include <QWebEnginePage>
#include <functional>

namespace browser {

/// A script that runs in a page as the body of an async function.
class PageScript {
  public:
    struct End {
        bool succeeded;
        QString text;  ///< the returned value as JSON, or what was thrown, in one line
    };

    /// @param page  must outlive the object.
    /// @param name  by which messages of the engine call the script.
    PageScript(QWebEnginePage& page, const QString& name, const QString& body);

    /// Starts the script. `done` is called once, unless the object goes first.
    void run(std::function<void(const End&)> done);

  private:
    void poll();

    QWebEnginePage& m_page;
    QString m_key;  ///< under which the page's window keeps the end of the script
    QString m_runner;
    QString m_program;
    std::function<void(const End&)> m_done;
    QTimer m_timer;
};

}  // namespace browser

#endif
