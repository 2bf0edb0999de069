// What the page of an account's window reaches of the network, even if a script of somebody else got into it.

#include "src/account/window_profile.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <functional>
#include <utility>

namespace {

/// A server that counts who comes.
class Bait {
  public:
    Bait() {
        QObject::connect(&m_server, &QTcpServer::newConnection, [this] { ++m_visits; });
        m_server.listen(QHostAddress::LocalHost);
    }
    int visits() const { return m_visits; }

    /// A page without a policy whose script says in its title that it tries, and tries a way to `there`: after that
    /// there may be another page.
    QByteArray page(const char* way) const {
        return QStringLiteral(
                   "<!DOCTYPE html><title>loaded</title><body><script>"
                   "const there = '//127.0.0.1:%1/'; document.title = 'tries'; %2"
                   "</script>")
            .arg(m_server.serverPort())
            .arg(QLatin1String(way))
            .toUtf8();
    }

  private:
    QTcpServer m_server;
    int m_visits = 0;
};

struct Way {
    const char* name;
    const char* script;
};

class AWindowsPage : public ::testing::TestWithParam<Way> {
  protected:
    static void SetUpTestSuite() {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        setenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --log-level=3", 0);
        browser::registerWindowScheme();
        static int count = 1;
        static char name[] = "window";
        static char* arguments[] = {name, nullptr};
        s_application = new QApplication(count, arguments);
    }
    static void TearDownTestSuite() { delete std::exchange(s_application, nullptr); }

    static bool waitFor(int milliseconds, const std::function<bool()>& isSo) {
        QElapsedTimer time;
        time.start();
        while (!isSo() && time.elapsed() < milliseconds) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 20);
        }
        return isSo();
    }

  private:
    static inline QApplication* s_application = nullptr;
};

TEST_P(AWindowsPage, DoesNotLeave) {
    const Bait bait;
    browser::WindowProfile profile;
    QWebEnginePage page(&profile);
    bool tries = false;
    QObject::connect(&page, &QWebEnginePage::titleChanged, [&](const QString& title) {
        tries = tries || title == QLatin1String("tries");
    });
    page.load(profile.serve(bait.page(GetParam().script)));
    ASSERT_TRUE(waitFor(20000, [&] { return tries; }));
    EXPECT_FALSE(waitFor(1000, [&] { return bait.visits() > 0; }));
}

/// The bait is good.
TEST_P(AWindowsPage, WouldLeaveElsewhere) {
    const Bait bait;
    QWebEngineProfile profile;
    QWebEnginePage page(&profile);
    page.setHtml(QString::fromUtf8(bait.page(GetParam().script)),
                 QUrl(QStringLiteral("http://127.0.0.1/")));
    EXPECT_TRUE(waitFor(20000, [&] { return bait.visits() > 0; }));
}

INSTANTIATE_TEST_SUITE_P(
    By, AWindowsPage,
    ::testing::Values(Way{"AnImage", "new Image().src = 'http:' + there"},
                      Way{"AFrame",
                          "document.body.innerHTML = `<iframe src=http:${there}></iframe>`"},
                      Way{"AForm",
                          "document.body.innerHTML = `<form action=http:${there}></form>`;"
                          "document.forms[0].submit()"},
                      Way{"ANavigation", "location.href = 'http:' + there"},
                      Way{"AFetch", "fetch('http:' + there, { mode: 'no-cors' }).catch(() => {})"},
                      Way{"ABeacon", "navigator.sendBeacon('http:' + there, '')"},
                      Way{"AnEventSource", "new EventSource('http:' + there)"},
                      Way{"AWebSocket", "new WebSocket('ws:' + there)"}),
    [](const auto& test) { return test.param.name; });

}  // namespace
