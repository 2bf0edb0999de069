#ifndef BROWSER_WEB_PAGE_H_
#define BROWSER_WEB_PAGE_H_

#include <QString>
#include <QUrl>
#include <QWebEnginePage>
#include <vector>

namespace browser {

/// A page whose console goes to stdout, each message whole and at once, and that cannot reach into
/// another application.
class WebPage : public QWebEnginePage {
  public:
    /// @param profile  must outlive the page.
    /// @param places   of all applications, see Application.
    WebPage(QWebEngineProfile* profile, std::vector<QUrl> places);

  protected:
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message,
                                  int line, const QString& source) override;
    bool acceptNavigationRequest(const QUrl& target, NavigationType type,
                                 bool isMainFrame) override;

  private:
    const std::vector<QUrl> m_places;
};

/// Writes a text and a line end to stdout, and flushes.
void printLine(const QString& text);

}  // namespace browser

#endif
