#include "src/window.h"

#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QMenu>
#include <QWebEngineProfile>
#include <utility>

namespace browser {
namespace {

constexpr double kZoomStep = 1.1;

}  // namespace

class Window::View : public QWebEngineView {
  public:
    explicit View(Window& window) : m_window(window) {}

  protected:
    void contextMenuEvent(QContextMenuEvent* event) override {
        QMenu* menu = page()->createStandardContextMenu();
        menu->setAttribute(Qt::WA_DeleteOnClose);
        // The engine's own does nothing while no inspector is open.
        QAction* inspect = page()->action(QWebEnginePage::InspectElement);
        if (!menu->actions().contains(inspect)) menu->addSeparator();
        menu->removeAction(inspect);
        connect(menu->addAction(QStringLiteral("Inspect")), &QAction::triggered, this,
                [this, inspect] {
                    m_window.showInspector();
                    inspect->trigger();
                });
        menu->popup(event->globalPos());
    }

    void closeEvent(QCloseEvent* event) override {
        QWebEngineView::closeEvent(event);
        m_window.m_isClosed = true;
        if (m_window.m_observer.onClosed) m_window.m_observer.onClosed();
    }

  private:
    Window& m_window;
};

Window::Window(const PageSetting& setting, const QString& name, QSize size, Observer observer)
    : m_observer(std::move(observer)), m_page(setting), m_view(std::make_unique<View>(*this)) {
    m_view->setPage(&m_page);
    m_view->resize(size);
    m_view->setWindowTitle(name);
    QObject::connect(&m_page, &QWebEnginePage::titleChanged, [this, name](const QString& title) {
        m_view->setWindowTitle(title.isEmpty() ? name : title);
    });
    QObject::connect(&m_page, &QWebEnginePage::windowCloseRequested, [this] { m_view->close(); });
    QObject::connect(&m_page, &QWebEnginePage::loadFinished, [this](bool succeeded) {
        // Later ones are of pages to which this one went on.
        if (!std::exchange(m_loaded, true) && m_observer.onLoaded) m_observer.onLoaded(succeeded);
    });
    QObject::connect(
        &m_page, &QWebEnginePage::renderProcessTerminated,
        [this](QWebEnginePage::RenderProcessTerminationStatus, int code) {
            if (!m_observer.onProcessEnd) return;
            m_observer.onProcessEnd(QStringLiteral("the page's process ended, code %1").arg(code));
        });
    addKeys();
}

Window::~Window() = default;

QWebEngineView& Window::view() { return *m_view; }

void Window::addKeys() {
    const auto add = [this](const char* keys, auto&& action) {
        auto* shortcut = new QShortcut(QKeySequence(QString::fromLatin1(keys)), m_view.get());
        QObject::connect(shortcut, &QShortcut::activated, action);
    };
    const auto zoom = [this](double factor) { m_page.setZoomFactor(m_page.zoomFactor() * factor); };
    for (const char* keys : {"F5", "Ctrl+R"}) {
        add(keys, [this] { m_page.triggerAction(QWebEnginePage::Reload); });
    }
    for (const char* keys : {"Ctrl++", "Ctrl+="}) add(keys, [zoom] { zoom(kZoomStep); });
    add("Ctrl+-", [zoom] { zoom(1 / kZoomStep); });
    add("Ctrl+0", [this] { m_page.setZoomFactor(1); });
    for (const char* keys : {"F12", "Ctrl+Shift+I"}) add(keys, [this] { toggleInspector(); });
}

void Window::toggleInspector() {
    if (m_inspector && m_inspector->isVisible()) {
        m_inspector->hide();
    } else {
        showInspector();
    }
}

void Window::showInspector() {
    if (!m_inspector) {
        m_inspector = std::make_unique<QWebEngineView>();
        m_inspector->setWindowTitle(QStringLiteral("Inspector"));
        m_inspector->setAttribute(Qt::WA_QuitOnClose, false);
        m_inspector->resize(m_view->size());
        // Of this browser's profile: that of the engine would keep something on disk.
        m_inspector->setPage(new QWebEnginePage(m_page.profile(), m_inspector.get()));
        m_page.setDevToolsPage(m_inspector->page());
    }
    m_inspector->show();
    m_inspector->raise();
}

void Window::show(const QUrl& start) {
    if (!start.isEmpty()) m_page.load(start);
    m_view->show();
}

}  // namespace browser
