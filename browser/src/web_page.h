#ifndef BROWSER_WEB_PAGE_H_
#define BROWSER_WEB_PAGE_H_

#include <QString>
#include <QWebEnginePage>

namespace browser {

/// A page whose console goes to stdout, each message whole and at once.
class WebPage : public QWebEnginePage {
  public:
    using QWebEnginePage::QWebEnginePage;

  protected:
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message,
                                  int line, const QString& source) override;
};

/// Writes a text and a line end to stdout, and flushes.
void printLine(const QString& text);

}  // namespace browser

#endif
