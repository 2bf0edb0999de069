#include "src/page_script.h"

#include <QPointer>
#include <QRegularExpression>
#include <QUuid>
#include <QVariant>
#include <utility>

namespace browser {
namespace {

// The engine does not wait for promises, so the end of the script is polled. A page may replace
// functions such as console.log, so none of them could carry the end reliably.
constexpr int kPollInterval = 20;  // milliseconds

// %1 is a random name; %2 is the script's name.
constexpr const char* kRunner = R"((() => {
const end = {};
const describe = error => {
  if (!(error instanceof Error)) return typeof error === "object" ? JSON.stringify(error) : String(error);
  const line = parseInt(String(error.stack).split("%2:")[1]);
  return `${error.name}: ${error.message}` + (line ? ` (%2:${line})` : "");
};
Object.defineProperty(window, "%1", { value: {
  end,
  async run(script) {
    try {
      const text = JSON.stringify(await script());
      end.result = text === undefined ? "null" : text;
    } catch (error) {
      try { end.error = describe(error); } catch (odd) { end.error = "a value that has no text"; }
    }
  } } });
})())";

}  // namespace

PageScript::PageScript(QWebEnginePage& page, const QString& name, const QString& body)
    : m_page(page), m_key(QUuid::createUuid().toString(QUuid::Id128)) {
    QString plainName = name;  // a source name must not hold blanks, nor quotes where it is used
    plainName.replace(QRegularExpression(QStringLiteral("[^\\w.-]")), QStringLiteral("_"));
    m_runner = QString::fromLatin1(kRunner).arg(m_key, plainName);
    // The body starts on the first line, so that the engine counts its lines as its author does.
    m_program = QStringLiteral("window['%1'].run(async () => {").arg(m_key) + body +
                QStringLiteral("\n}); true\n//# sourceURL=") + plainName;
    m_timer.setInterval(kPollInterval);
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, [this] { poll(); });
}

void PageScript::run(std::function<void(const End&)> done) {
    m_done = std::move(done);
    m_page.runJavaScript(m_runner);
    // A page that goes calls what is still waiting, then this object may be gone already.
    const QPointer<QTimer> alive = &m_timer;
    m_page.runJavaScript(m_program, [this, alive](const QVariant& started) {
        if (!alive) return;
        if (started.toBool()) return poll();
        m_done({false, QStringLiteral("the script does not parse; the console has the line")});
    });
}

void PageScript::poll() {
    const QString ask = QStringLiteral("window['%1'] ? window['%1'].end : null").arg(m_key);
    const QPointer<QTimer> alive = &m_timer;
    m_page.runJavaScript(ask, [this, alive](const QVariant& value) {
        if (!alive) return;
        const QVariantMap end = value.toMap();
        if (!value.isValid()) {
            m_done({false, QStringLiteral("the page was left before the script ended")});
        } else if (end.contains(QStringLiteral("result"))) {
            m_done({true, end.value(QStringLiteral("result")).toString()});
        } else if (end.contains(QStringLiteral("error"))) {
            m_done({false, end.value(QStringLiteral("error")).toString().simplified()});
        } else {
            m_timer.start();
        }
    });
}

}  // namespace browser
