#include "src/account/account_windows.h"

#include <utility>

#include "src/later.h"
#include "src/output.h"

namespace browser {
namespace {

QJsonObject toJson(const Texts& texts) {
    QJsonObject json;
    for (const auto& [name, text] : texts) {
        json.insert(QString::fromStdString(name), QString::fromStdString(text));
    }
    return json;
}

Texts toTexts(const QJsonObject& json) {
    Texts texts;
    for (auto field = json.begin(); field != json.end(); ++field) {
        texts[field.key().toStdString()] = field.value().toString().toStdString();
    }
    return texts;
}

QJsonObject silence() {
    return {
        {QString(),
         QStringLiteral("The account service does not answer. Try again, or close this window.")}};
}

}  // namespace

AccountWindows::AccountWindows(const std::string& address, const std::string& state,
                               std::string key, std::function<QWidget*()> below,
                               std::filesystem::path pictures, std::function<void()> unreachable)
    : m_below(std::move(below)),
      m_pictures(std::move(pictures)),
      m_link(address, state, std::move(key),
             {[this](auto popup, auto& title, auto& html) { open(popup, title, html); },
              [this](auto popup) { takeAway(popup); },
              [this](auto popup, auto& fields, bool press) { fill(popup, fields, press); },
              [this] { takeAwayAll(); }, std::move(unreachable)}) {}

AccountWindows::~AccountWindows() = default;

AccountWindow::Observer AccountWindows::observerOf(PopupNumber popup) {
    AccountWindow::Observer observer;
    observer.submit = [this, popup](const QString& action, const QJsonObject& fields, auto answer) {
        takePicture(popup);
        m_link.submit(popup, action.toStdString(), toTexts(fields),
                      [this, popup, answer](bool answered, bool done, const Texts& errors) {
                          if (done) return takeAway(popup);
                          answer(answered ? toJson(errors) : silence());
                      });
    };
    observer.closed = [this, popup] {
        m_link.closed(popup);
        takeAway(popup);
    };
    observer.failed = [this, popup] {
        m_link.failed(popup);
        takeAway(popup);
    };
    return observer;
}

/// "2-create-an-account.png"
void AccountWindows::takePicture(PopupNumber popup) {
    if (m_pictures.empty()) return;
    AccountWindow& window = *m_windows.at(popup);
    QString name = QString::number(++m_taken);
    for (const QChar letter : QLatin1Char('-') + window.windowTitle().toLower()) {
        name += letter.isLetterOrNumber() ? letter : QLatin1Char('-');
    }
    const auto file = m_pictures / (name.toStdString() + ".png");
    if (window.grab().save(QString::fromStdString(file.string()), "PNG")) return;
    complain(QStringLiteral("the picture %1 cannot be written")
                 .arg(QString::fromStdString(file.string())));
}

void AccountWindows::open(PopupNumber popup, const QString& title, const QString& html) {
    auto& window = m_windows[popup];
    const bool isNew = window == nullptr;
    if (isNew) window = std::make_unique<AccountWindow>(observerOf(popup));
    window->load(title, html);
    if (isNew) window->showOver(m_below());
}

void AccountWindows::takeAway(PopupNumber popup) {
    const auto found = m_windows.find(popup);
    if (found == m_windows.end()) return;
    found->second->hide();
    // It may be the one that calls.
    m_gone.push_back(std::move(found->second));
    later(m_context, 0, [this] { m_gone.clear(); });
    m_windows.erase(found);
    QWidget* below = m_below();
    if (below != nullptr && m_windows.empty()) below->activateWindow();
}

void AccountWindows::fill(PopupNumber popup, const Texts& fields, bool press) {
    const auto found = m_windows.find(popup);
    if (found != m_windows.end()) found->second->fill(toJson(fields), press);
}

void AccountWindows::takeAwayAll() {
    while (!m_windows.empty()) takeAway(m_windows.begin()->first);
}

}  // namespace browser
