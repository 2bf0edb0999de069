#include "src/page_script.h"

#include <QPointer>
#include <QRegularExpression>
#include <QUrl>
#include <QUuid>
#include <QVariant>
#include <algorithm>
#include <utility>

namespace browser {
namespace {

// The engine does not wait for promises, so the end of the script is polled. A page may replace
// functions such as console.log, so none of them could carry the end reliably.
constexpr int kPollInterval = 20;      // milliseconds
constexpr int kLongestSilence = 1000;  // milliseconds, of the console about a syntax error

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

PageScript::PageScript(QWebEnginePage& page, Console& console, const QString& name,
                       const QString& body)
    : m_page(page),
      m_console(console),
      m_name(name),
      m_lines(1 + body.trimmed().count(QLatin1Char('\n'))),
      m_key(QUuid::createUuid().toString(QUuid::Id128)),
      m_patience(kLongestSilence / kPollInterval) {
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

PageScript::~PageScript() { m_console.setErrorFilter(nullptr); }

void PageScript::run(std::function<void(const End&)> done) {
    m_done = std::move(done);
    m_page.runJavaScript(m_runner);
    m_console.setErrorFilter([this](const QString& message, int line, const QString& source) {
        // What does not parse has no name yet; the engine takes it for a part of the page.
        if (!message.startsWith(QLatin1String("Uncaught SyntaxError")) ||
            QUrl(source) != m_page.url()) {
            return false;
        }
        m_syntaxError = QStringLiteral("%1 (%2:%3)")
                            .arg(message.mid(message.indexOf(QLatin1Char(' ')) + 1), m_name)
                            .arg(std::min(line, m_lines));
        return true;
    });
    // A page that goes calls what is still waiting, then this object may be gone already.
    const QPointer<QTimer> alive = &m_timer;
    m_page.runJavaScript(m_program, [this, alive](const QVariant& started) {
        if (!alive) return;
        if (!started.toBool()) return onSyntaxError();
        m_console.setErrorFilter(nullptr);
        poll();
    });
}

// What the engine says of the program may come later than that it has not started.
void PageScript::onSyntaxError() {
    if (!m_syntaxError.isEmpty() || --m_patience < 0) {
        return end({false, m_syntaxError.isEmpty() ? QStringLiteral("%1 does not parse").arg(m_name)
                                                   : m_syntaxError});
    }
    const QPointer<QTimer> alive = &m_timer;
    QTimer::singleShot(kPollInterval, [this, alive] {
        if (alive) onSyntaxError();
    });
}

void PageScript::end(const End& end) {
    m_console.setErrorFilter(nullptr);
    m_done(end);
}

void PageScript::poll() {
    const QString ask = QStringLiteral("window['%1'] ? window['%1'].end : null").arg(m_key);
    const QPointer<QTimer> alive = &m_timer;
    m_page.runJavaScript(ask, [this, alive](const QVariant& value) {
        if (!alive) return;
        const QVariantMap found = value.toMap();
        if (!value.isValid()) {
            end({false, QStringLiteral("the page was left before the script ended")});
        } else if (found.contains(QStringLiteral("result"))) {
            end({true, found.value(QStringLiteral("result")).toString()});
        } else if (found.contains(QStringLiteral("error"))) {
            end({false, found.value(QStringLiteral("error")).toString().simplified()});
        } else {
            m_timer.start();
        }
    });
}

}  // namespace browser
