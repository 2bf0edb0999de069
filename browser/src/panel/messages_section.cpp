#include "src/panel/messages_section.h"

#include <QFontDatabase>
#include <QHeaderView>
#include <QScrollBar>

#include "embedder/commands.h"
#include "src/panel/text.h"

namespace browser {
namespace {

enum Column { kTime, kCommand, kAnswer, kMilliseconds, kColumns };

// What a row holds beside its texts.
constexpr int kKey = Qt::UserRole;           // instance, path and command, while it waits
constexpr int kRequest = Qt::UserRole + 1;   // in full
constexpr int kResponse = Qt::UserRole + 2;  // in full
constexpr int kWhy = Qt::UserRole + 3;       // it was refused

constexpr int kMostRows = 1000;

using Json = nlohmann::ordered_json;

QString dump(const Json& value, int indent) {
    return text(value.dump(indent, ' ', false, Json::error_handler_t::replace));
}

std::string member(const Json& object, const char* name) {
    const auto found = object.is_object() ? object.find(name) : object.end();
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

QString keyOf(const Json& message, const std::string& command) {
    return dump(message.value("instance", Json()), -1) + QLatin1Char(' ') +
           text(member(message, "path")) + QLatin1Char(' ') + text(command);
}

/// The number that says how an answer went: "status" of a message, "code" of a reply.
int statusOf(const Json& answer) {
    for (const char* name : {"status", "code"}) {
        const auto found = answer.is_object() ? answer.find(name) : answer.end();
        if (found != answer.end() && found->is_number_integer()) return found->get<int>();
    }
    return 0;
}

/// An answer in short: its error, or what it says beside what is said already.
QString summaryOf(const Json& answer) {
    if (!answer.is_object()) return dump(answer, -1);
    const int status = statusOf(answer);
    if (status != 0) {
        return QStringLiteral("%1 %2").arg(status).arg(text(member(answer, "errorName")));
    }
    Json rest = answer;
    for (const char* name : {"command", "status", "code", "errorName", "errorMessage"}) {
        rest.erase(name);
    }
    QStringList parts;
    for (const auto& [name, value] : rest.items()) {
        parts << text(name) + QLatin1Char(' ') + dump(value, -1);
    }
    return parts.isEmpty() ? QStringLiteral("done") : parts.join(QStringLiteral(", "));
}

}  // namespace

MessagesSection::MessagesSection()
    : QSplitter(Qt::Vertical), m_rows(new QTreeWidget), m_whole(new QPlainTextEdit) {
    m_rows->setObjectName(QStringLiteral("messages"));
    m_rows->setColumnCount(kColumns);
    m_rows->setHeaderLabels({QStringLiteral("Time"), QStringLiteral("Request"),
                             QStringLiteral("Answer"), QStringLiteral("ms")});
    m_rows->setRootIsDecorated(false);
    m_rows->setUniformRowHeights(true);
    m_rows->setAlternatingRowColors(true);
    QHeaderView& header = *m_rows->header();
    header.setStretchLastSection(false);
    header.setSectionResizeMode(kTime, QHeaderView::ResizeToContents);
    header.setSectionResizeMode(kCommand, QHeaderView::Interactive);
    header.setSectionResizeMode(kAnswer, QHeaderView::Stretch);
    header.setSectionResizeMode(kMilliseconds, QHeaderView::ResizeToContents);
    header.resizeSection(kCommand, 150);
    m_whole->setReadOnly(true);
    m_whole->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_whole->setPlaceholderText(QStringLiteral("Choose a message to see all of it."));
    addWidget(m_rows);
    addWidget(m_whole);
    setStretchFactor(0, 3);
    setStretchFactor(1, 2);
    connect(m_rows, &QTreeWidget::currentItemChanged, this,
            [this](const QTreeWidgetItem* row) { show(row); });
}

void MessagesSection::add(const std::string& line) {
    const Json message = Json::parse(line, nullptr, false);
    if (!message.is_object()) return;
    const QScrollBar* bar = m_rows->verticalScrollBar();
    const bool follows = bar->value() == bar->maximum();
    if (message.contains("request")) addRequest(message);
    if (message.contains("answer")) addAnswer(message);
    while (m_rows->topLevelItemCount() > kMostRows) delete m_rows->takeTopLevelItem(0);
    if (follows) m_rows->scrollToBottom();
}

QTreeWidgetItem* MessagesSection::addRow(const Json& message, const std::string& command) {
    auto* row = new QTreeWidgetItem(m_rows);
    row->setText(kTime, text(member(message, "time")).mid(11, 8));
    QString shown = text(command);
    // All begin alike, and there is little room.
    const QLatin1String prefix("sso_plugin_");
    if (shown.startsWith(prefix)) shown.remove(0, prefix.size());
    row->setText(kCommand, shown.isEmpty() ? QStringLiteral("(no command)") : shown);
    row->setToolTip(kCommand, text(command));
    row->setTextAlignment(kMilliseconds, Qt::AlignRight | Qt::AlignVCenter);
    return row;
}

void MessagesSection::addRequest(const Json& message) {
    const Json& request = message["request"];
    const std::string command = member(request, "command");
    QTreeWidgetItem* row = addRow(message, command);
    row->setText(kAnswer, QStringLiteral("\u2026"));
    row->setData(0, kKey, keyOf(message, command));
    row->setData(0, kRequest, dump(request, 2));
}

QTreeWidgetItem* MessagesSection::waitingFor(const Json& answer) const {
    // Without the time since its request it answers none.
    if (!answer.contains("milliseconds")) return nullptr;
    const QString key = keyOf(answer, member(answer, "command"));
    for (int i = 0; i < m_rows->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = m_rows->topLevelItem(i);
        if (row->data(0, kKey).toString() == key) return row;
    }
    return nullptr;
}

void MessagesSection::addAnswer(const Json& message) {
    const Json& answer = message["answer"];
    const std::string command = member(message, "command");
    QTreeWidgetItem* row = waitingFor(message);
    const bool isMatched = row != nullptr;
    if (!isMatched) row = addRow(message, member(answer, "command"));
    row->setData(0, kKey, QVariant());
    row->setData(0, kResponse, dump(answer, 2));
    row->setText(kAnswer, isMatched ? summaryOf(answer)
                                    : QStringLiteral("answers no request: ") + summaryOf(answer));
    if (isMatched) {
        row->setText(kMilliseconds, QString::number(message.value("milliseconds", 0.0), 'f', 1));
    }
    const int status = statusOf(answer);
    if (status == embedder::kRefused) {
        row->setData(0, kWhy, text(embedder::explainRefusal(command)));
    }
    if (status != 0 || !isMatched) row->setForeground(kAnswer, QColor(0xc0, 0x39, 0x2b));
    if (row == m_rows->currentItem()) show(row);
    // What helps should not have to be looked for.
    if (status == embedder::kRefused) m_rows->setCurrentItem(row);
}

void MessagesSection::show(const QTreeWidgetItem* row) {
    QStringList parts;
    if (row != nullptr) {
        for (const int role : {kWhy, kRequest, kResponse}) {
            const QString part = row->data(0, role).toString();
            if (!part.isEmpty()) parts << part;
        }
    }
    m_whole->setPlainText(parts.join(QStringLiteral("\n\n")));
}

}  // namespace browser
