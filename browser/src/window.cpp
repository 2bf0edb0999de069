#include "src/window.h"

#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QDockWidget>
#include <QMenu>
#include <QShortcut>
#include <QWebEngineProfile>
#include <utility>

namespace browser {
namespace {

constexpr double kZoomStep = 1.1;

}  // namespace

class Window::Frame : public QMainWindow {
  public:
    explicit Frame(Window& window) : m_window(window) {}

  protected:
    void closeEvent(QCloseEvent* event) override {
        QMainWindow::closeEvent(event);
        m_window.m_isClosed = true;
        if (m_window.m_observer.onClosed) m_window.m_observer.onClosed();
    }

  private:
    Window& m_window;
};

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

  private:
    Window& m_window;
};

Window::Window(const PageSetting& setting, const QString& name, QSize size, Observer observer)
    : m_observer(std::move(observer)),
      m_page(setting),
      m_frame(std::make_unique<Frame>(*this)),
      m_view(new View(*this)) {
    m_view->setPage(&m_page);
    m_frame->setCentralWidget(m_view);
    m_frame->resize(size);
    m_frame->setWindowTitle(name);
    QObject::connect(&m_page, &QWebEnginePage::titleChanged, [this, name](const QString& title) {
        m_frame->setWindowTitle(title.isEmpty() ? name : title);
    });
    QObject::connect(&m_page, &QWebEnginePage::windowCloseRequested, [this] { m_frame->close(); });
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

QMainWindow& Window::frame() { return *m_frame; }

template <typename Action>
void Window::addKey(const char* keys, Action action) {
    auto* shortcut = new QShortcut(QKeySequence(QString::fromLatin1(keys)), m_frame.get());
    QObject::connect(shortcut, &QShortcut::activated, action);
}

void Window::addPanel(std::unique_ptr<QWidget> panel, bool isShown) {
    auto* dock = new QDockWidget(QStringLiteral("Desk"), m_frame.get());
    dock->setWidget(panel.release());
    dock->setVisible(isShown);
    m_frame->addDockWidget(Qt::RightDockWidgetArea, dock);
    addKey("F9", [dock] { dock->setVisible(!dock->isVisible()); });
}

void Window::addKeys() {
    const auto zoom = [this](double factor) { m_page.setZoomFactor(m_page.zoomFactor() * factor); };
    for (const char* keys : {"F5", "Ctrl+R"}) {
        addKey(keys, [this] { m_page.triggerAction(QWebEnginePage::Reload); });
    }
    for (const char* keys : {"Ctrl++", "Ctrl+="}) addKey(keys, [zoom] { zoom(kZoomStep); });
    addKey("Ctrl+-", [zoom] { zoom(1 / kZoomStep); });
    addKey("Ctrl+0", [this] { m_page.setZoomFactor(1); });
    for (const char* keys : {"F12", "Ctrl+Shift+I"}) addKey(keys, [this] { toggleInspector(); });
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
    m_frame->show();
    m_view->setFocus();
}

}  // namespace browser
