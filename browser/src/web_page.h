#ifndef BROWSER_WEB_PAGE_H_
#define BROWSER_WEB_PAGE_H_

#include <QString>
#include <QStringList>
#include <QUrl>
#include <QWebEnginePage>
#include <functional>

#include "src/console.h"
#include "src/dialogs.h"

namespace browser {

/// What all pages of a browser have in common.
struct PageSetting {
    QWebEngineProfile* profile;  ///< must outlive the pages
    Console* console;            ///< must outlive the pages
    Dialogs dialogs;
    bool hasPrelude;  ///< see Console; whoever attaches DevTools wants the page as it is
    /// Makes the window that a page opens. @return its page, null for none.
    std::function<QWebEnginePage*()> openWindow;
};

/// A page that writes to the console, can use the plug-in, and whose questions are answered.
class WebPage : public QWebEnginePage {
  public:
    explicit WebPage(const PageSetting& setting);

  protected:
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message,
                                  int line, const QString& source) override;
    void javaScriptAlert(const QUrl& origin, const QString& message) override;
    bool javaScriptConfirm(const QUrl& origin, const QString& message) override;
    bool javaScriptPrompt(const QUrl& origin, const QString& message, const QString& proposal,
                          QString* answer) override;
    QStringList chooseFiles(FileSelectionMode mode, const QStringList& before,
                            const QStringList& types) override;
    QWebEnginePage* createWindow(WebWindowType type) override;

  private:
    bool answersItself() const { return m_setting.dialogs != Dialogs::Person; }
    bool accepts() const { return m_setting.dialogs == Dialogs::Accept; }
    void tell(const QString& question, const QString& answer) const;
    void onPermissionAsked(const QUrl& origin, Feature feature);

    const PageSetting m_setting;
};

}  // namespace browser

#endif
