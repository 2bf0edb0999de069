#ifndef BROWSER_ACCOUNT_WINDOW_BRIDGE_H_
#define BROWSER_ACCOUNT_WINDOW_BRIDGE_H_

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <functional>

namespace browser {

/// What the page of an account's window sees of the browser; see page/account_window.js. One for each page.
class WindowBridge : public QObject {
    Q_OBJECT

  public:
    /// @param onSubmit  told what the person pressed; the answer is given by answer().
    WindowBridge(
        std::function<void(int number, const QString& action, const QJsonObject& fields)> onSubmit,
        std::function<void()> onReady)
        : m_onSubmit(std::move(onSubmit)), m_onReady(std::move(onReady)) {}

    void answer(int number, const QJsonObject& errors) { Q_EMIT answered(number, errors); }
    void fill(const QJsonObject& fields, bool press) { Q_EMIT filled(fields, press); }

    // The page's:

    /// @return what names the answer.
    Q_INVOKABLE int submit(const QString& action, const QJsonObject& fields) {
        m_onSubmit(++m_last, action, fields);
        return m_last;
    }
    /// It can be filled in from now on.
    Q_INVOKABLE void ready() { m_onReady(); }

  Q_SIGNALS:
    void answered(int number, const QJsonObject& errors);
    void filled(const QJsonObject& fields, bool press);

  private:
    const std::function<void(int, const QString&, const QJsonObject&)> m_onSubmit;
    const std::function<void()> m_onReady;
    int m_last = 0;
};

}  // namespace browser

#endif
