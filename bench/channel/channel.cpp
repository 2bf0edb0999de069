// What someone would use instead of a plug-in: QWebChannel, with an object that answers the same queries.
// This is loaded into sso-browser beforehand (LD_PRELOAD) and gives each page the channel.

#include <QCoreApplication>
#include <QEvent>
#include <QJsonObject>
#include <QObject>
#include <QWebChannel>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <cstdlib>

namespace {

class Service : public QObject {
    Q_OBJECT
  public Q_SLOTS:
    QJsonObject getVersion() {
        return {{QStringLiteral("code"), 0},
                {QStringLiteral("errorName"), QString()},
                {QStringLiteral("errorMessage"), QString()},
                {QStringLiteral("value"), QStringLiteral("1.1")}};
    }
    QJsonObject getSSOState() {
        return {{QStringLiteral("code"), 0},
                {QStringLiteral("errorName"), QString()},
                {QStringLiteral("errorMessage"), QString()},
                {QStringLiteral("value"),
                 QStringLiteral("robin@user.example?auth-token-of-robin?uid-robin?guid-robin")}};
    }
    QJsonObject requestToken(const QString& id, const QString& secret) {
        Q_UNUSED(id)
        Q_UNUSED(secret)
        return {{QStringLiteral("status"), 0},
                {QStringLiteral("command"), QStringLiteral("sso_plugin_getZEVAccessToken")},
                {QStringLiteral("token"), QStringLiteral("access-token-of-a-client")}};
    }
};

/// Gives a page the channel when its view is shown.
class Installer : public QObject {
  public:
    Installer() { m_channel.registerObject(QStringLiteral("service"), &m_service); }

  protected:
    bool eventFilter(QObject* object, QEvent* event) override {
        if (event->type() == QEvent::Show) {
            if (auto* view = qobject_cast<QWebEngineView*>(object)) {
                view->page()->setWebChannel(&m_channel);
            }
        }
        return false;
    }

  private:
    Service m_service;
    QWebChannel m_channel;
};

void install() {
    // The engine's processes have no use for this library.
    unsetenv("LD_PRELOAD");
    QCoreApplication* application = QCoreApplication::instance();
    if (!application->inherits("QApplication")) return;
    auto* installer = new Installer;  // as old as the process
    application->installEventFilter(installer);
}

}  // namespace

Q_COREAPP_STARTUP_FUNCTION(install)

#include "channel.moc"
