#include "src/account/account_window.h"

#include <QCloseEvent>
#include <QFile>
#include <QShortcut>
#include <QVBoxLayout>
#include <QWebChannel>
#include <QWebEnginePage>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>
#include <QWebEngineView>
#include <QWindow>
#include <stdexcept>
#include <utility>

#include "account_window_text.h"
#include "src/output.h"

namespace browser {
namespace {

constexpr QSize kSize(760, 760);
constexpr double kLargestShare = 0.95;  // of the window below

QString channelScript() {
    QFile file(QStringLiteral(":/qtwebchannel/qwebchannel.js"));
    if (!file.open(QIODevice::ReadOnly)) throw std::runtime_error("Qt's qwebchannel.js is missing");
    return QString::fromUtf8(file.readAll()) + QLatin1Char('\n') +
           QString::fromUtf8(kAccountWindowText);
}

}  // namespace

/// The service's page, which goes nowhere and opens nothing.
class AccountWindow::Page : public QWebEnginePage {
  public:
    explicit Page(WindowProfile& profile) : QWebEnginePage(&profile) {
        using Settings = QWebEngineSettings;
        for (const Settings::WebAttribute attribute :
             {Settings::PluginsEnabled, Settings::LocalStorageEnabled, Settings::ErrorPageEnabled,
              Settings::JavascriptCanOpenWindows, Settings::JavascriptCanAccessClipboard,
              Settings::FullScreenSupportEnabled, Settings::ScreenCaptureEnabled}) {
            settings()->setAttribute(attribute, false);
        }
        QWebEngineScript script;
        script.setName(QStringLiteral("account window"));
        script.setSourceCode(channelScript());
        script.setInjectionPoint(QWebEngineScript::DocumentCreation);
        script.setWorldId(QWebEngineScript::MainWorld);
        scripts().insert(script);
    }

    void open(const QUrl& page) {
        m_url = page;
        load(page);
    }

  protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType /*type*/,
                                 bool /*isMainFrame*/) override {
        return url == m_url;
    }
    // Its console is nobody's: it could hold what somebody entered.
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel /*level*/,
                                  const QString& /*message*/, int /*line*/,
                                  const QString& /*source*/) override {}
    void javaScriptAlert(const QUrl& /*origin*/, const QString& /*message*/) override {}

  private:
    QUrl m_url;
};

AccountWindow::AccountWindow(Observer observer)
    : QWidget(nullptr, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint),
      m_observer(std::move(observer)),
      m_page(std::make_unique<Page>(m_profile)),
      m_view(std::make_unique<QWebEngineView>()) {
    m_view->setContextMenuPolicy(Qt::NoContextMenu);
    m_view->setPage(m_page.get());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view.get());
    setFocusProxy(m_view.get());
    connect(m_page.get(), &QWebEnginePage::loadFinished, this, [this](bool succeeded) {
        if (!succeeded) fail(QStringLiteral("its page was not loaded"));
    });
    connect(m_page.get(), &QWebEnginePage::renderProcessTerminated, this,
            [this](QWebEnginePage::RenderProcessTerminationStatus /*status*/, int code) {
                fail(QStringLiteral("its page's process ended with %1").arg(code));
            });
    addKeys();
}

AccountWindow::~AccountWindow() { m_isOver = true; }

void AccountWindow::addKeys() {
    for (const int key : {Qt::Key_Escape, Qt::Key_Back, Qt::Key_Cancel}) {
        connect(new QShortcut(QKeySequence(key), this), &QShortcut::activated, this,
                [this] { close(); });
    }
}

void AccountWindow::load(const QString& title, const QString& html) {
    m_isReady = false;
    m_fillings.clear();
    // Of this page alone, so that no answer to one reaches the next.
    auto channel = std::make_unique<QWebChannel>();
    m_bridge = std::make_shared<WindowBridge>(
        [this](int number, const QString& action, const QJsonObject& fields) {
            if (m_isOver) return;
            m_observer.submit(
                action, fields,
                [number, bridge = std::weak_ptr(m_bridge)](const QJsonObject& errors) {
                    if (const auto there = bridge.lock()) there->answer(number, errors);
                });
        },
        [this, title] {
            // Not before: a title says that there is something to see.
            setWindowTitle(title);
            m_isReady = true;
            for (const Filling& filling : std::exchange(m_fillings, {})) {
                m_bridge->fill(filling.fields, filling.press);
            }
        });
    channel->registerObject(QStringLiteral("bridge"), m_bridge.get());
    m_page->setWebChannel(channel.get());
    m_channel = std::move(channel);
    m_page->open(m_profile.serve(html.toUtf8()));
}

void AccountWindow::showOver(QWidget* other) {
    QSize size = kSize;
    if (other != nullptr) {
        size = size.boundedTo(other->size() * kLargestShare).expandedTo(QSize(320, 240));
        winId();  // makes the window that the next line needs
        windowHandle()->setTransientParent(other->window()->windowHandle());
        const QPoint middle = other->mapToGlobal(other->rect().center());
        move(middle - QPoint(size.width() / 2, size.height() / 2));
    }
    resize(size);
    show();
    raise();
    activateWindow();
    m_view->setFocus();
}

void AccountWindow::fill(const QJsonObject& fields, bool press) {
    if (m_isReady) {
        m_bridge->fill(fields, press);
    } else {
        m_fillings.push_back({fields, press});
    }
}

void AccountWindow::closeEvent(QCloseEvent* event) {
    QWidget::closeEvent(event);
    end(&Observer::closed);
}

void AccountWindow::fail(const QString& why) {
    if (!m_isOver) complain(QStringLiteral("a window of the account service failed: ") + why);
    end(&Observer::failed);
}

void AccountWindow::end(std::function<void()> Observer::*how) {
    if (!std::exchange(m_isOver, true)) (m_observer.*how)();
}

}  // namespace browser
