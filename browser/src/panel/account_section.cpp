#include "src/panel/account_section.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "embedder/commands.h"
#include "src/panel/text.h"

namespace browser {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kRefreshDelay = 50;  // milliseconds

Json parse(const QString& text) { return Json::parse(text.toStdString(), nullptr, false); }

QLabel* addLine(QVBoxLayout& layout, const char* name) {
    auto* line = new QLabel;
    line->setObjectName(QString::fromLatin1(name));
    line->setTextFormat(Qt::PlainText);
    line->setWordWrap(true);
    line->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout.addWidget(line);
    return line;
}

/// "tokens 2"
QString count(const Json& status, const char* name) {
    return QStringLiteral("%1 %2").arg(QLatin1String(name)).arg(status.value(name, 0));
}

/// "sso_show: fails 1 time, delayed by 500 ms"
QString orderText(const std::string& operation, const Json& order) {
    QStringList parts;
    if (order.contains("failure")) {
        const int times = order.value("times", 0);
        parts << (times == 0 ? QStringLiteral("fails with %1").arg(order.value("failure", 0))
                             : QStringLiteral("fails %1 more with %2")
                                   .arg(times)
                                   .arg(order.value("failure", 0)));
    }
    if (order.contains("delayMs")) {
        parts << QStringLiteral("takes %1 ms more").arg(order.value("delayMs", 0));
    }
    if (order.value("hangs", false)) parts << QStringLiteral("is not answered");
    return text(operation) + QStringLiteral(": ") + parts.join(QStringLiteral(", "));
}

}  // namespace

AccountSection::AccountSection(RunVerb runVerb, const QString& instead)
    : QGroupBox(QStringLiteral("Account")), m_runVerb(std::move(runVerb)) {
    auto* layout = new QVBoxLayout(this);
    m_session = addLine(*layout, "session");
    if (!m_runVerb) {
        m_session->setText(instead);
        return;
    }
    QFont bold = m_session->font();
    bold.setBold(true);
    m_session->setFont(bold);
    m_counts = addLine(*layout, "counts");
    m_orders = addLine(*layout, "orders");
    addPresets(*layout);
    addSwitches(*layout);
    addFaults(*layout);
    m_outcome = addLine(*layout, "outcome");
    m_refreshing.setSingleShot(true);
    connect(&m_refreshing, &QTimer::timeout, this, [this] { refresh(); });
    m_refreshing.start(0);
}

void AccountSection::addPresets(QVBoxLayout& layout) {
    auto* row = new QHBoxLayout;
    auto* presets = new QComboBox;
    presets->setObjectName(QStringLiteral("presets"));
    auto* use = new QPushButton(QStringLiteral("Use &preset"));
    row->addWidget(presets, 1);
    row->addWidget(use);
    layout.addLayout(row);
    connect(use, &QPushButton::clicked, this, [this, presets] {
        press({QStringLiteral("preset"), QStringLiteral("use"), presets->currentText()});
    });
    m_runVerb({QStringLiteral("preset"), QStringLiteral("list")},
              [presets = QPointer<QComboBox>(presets)](const VerbResult& result) {
                  if (!presets) return;
                  for (const Json& preset : parse(result.output)) {
                      const Json name = preset.is_object() ? preset.value("name", Json()) : preset;
                      if (name.is_string()) presets->addItem(text(name.get<std::string>()));
                  }
              });
}

void AccountSection::addSwitches(QVBoxLayout& layout) {
    auto* row = new QHBoxLayout;
    const std::pair<const char*, QStringList> switches[] = {
        {"&Sign out", {QStringLiteral("sign-out")}},
        {"&Expire tokens", {QStringLiteral("token"), QStringLiteral("expire")}},
        {"&Reset faults", {QStringLiteral("reset")}},
    };
    for (const auto& [name, words] : switches) {
        auto* button = new QPushButton(QString::fromLatin1(name));
        row->addWidget(button);
        connect(button, &QPushButton::clicked, this, [this, verb = words] { press(verb); });
    }
    layout.addLayout(row);
}

void AccountSection::addFaults(QVBoxLayout& layout) {
    auto* row = new QHBoxLayout;
    auto* operations = new QComboBox;
    operations->setObjectName(QStringLiteral("operations"));
    const QLatin1String prefix("sso_plugin_");
    for (const embedder::Command& command : embedder::commands()) {
        operations->addItem(text(command.name).remove(0, prefix.size()), text(command.name));
    }
    auto* fail = new QPushButton(QStringLiteral("&Fail next"));
    auto* delay = new QPushButton(QStringLiteral("&Delay"));
    auto* time = new QSpinBox;
    time->setRange(0, 600000);
    time->setSingleStep(500);
    time->setValue(2000);
    time->setSuffix(QStringLiteral(" ms"));
    layout.addWidget(operations);
    row->addWidget(fail);
    row->addStretch();
    row->addWidget(time);
    row->addWidget(delay);
    layout.addLayout(row);
    const auto chosen = [operations] { return operations->currentData().toString(); };
    connect(fail, &QPushButton::clicked, this, [this, chosen] {
        press({QStringLiteral("fail"), chosen(), QStringLiteral("--times"), QStringLiteral("1")});
    });
    connect(delay, &QPushButton::clicked, this, [this, chosen, time] {
        press({QStringLiteral("delay"), chosen(), QString::number(time->value())});
    });
}

void AccountSection::press(const QStringList& words) {
    m_runVerb(
        words, [this, here = QPointer<AccountSection>(this), words](const VerbResult& result) {
            if (!here) return;
            const QString verb = words.join(QLatin1Char(' '));
            m_outcome->setText(result.exitCode == 0 ? verb + QStringLiteral(": done")
                                                    : verb + QStringLiteral(": ") + result.error);
            m_refreshing.start(kRefreshDelay);
        });
}

void AccountSection::onEvent(const QString& json) {
    if (!m_runVerb) return;
    if (json.isEmpty()) {
        m_session->setText(QStringLiteral("The account service has ended; it is started again."));
    }
    m_refreshing.start(kRefreshDelay);
}

void AccountSection::refresh() {
    m_runVerb({QStringLiteral("status")},
              [this, here = QPointer<AccountSection>(this)](const VerbResult& status) {
                  if (here) showStatus(status);
              });
}

void AccountSection::showStatus(const VerbResult& result) {
    const Json status = parse(result.output);
    if (result.exitCode != 0 || !status.is_object()) {
        m_session->setText(result.error);
        return;
    }
    const Json signedIn = status.value("signedIn", Json());
    m_session->setText(signedIn.is_string()
                           ? QStringLiteral("Signed in: ") + text(signedIn.get<std::string>())
                           : QStringLiteral("Nobody is signed in"));
    QStringList counts{QStringLiteral("state ") + text(status.value("state", std::string()))};
    for (const char* name : {"accounts", "clients", "tokens", "mappings"}) {
        counts << count(status, name);
    }
    const Json terms = status.value("terms", Json::object());
    for (const auto& [id, agreed] : terms.items()) {
        if (agreed.is_string()) {
            counts << text(id) + (agreed == "agreed" ? QStringLiteral(" agreed")
                                                     : QStringLiteral(" not agreed"));
        }
    }
    m_counts->setText(counts.join(QStringLiteral(" \u00b7 ")));
    const Json ordered = status.value("orders", Json::object());
    QStringList orders;
    for (const auto& [operation, order] : ordered.items()) {
        orders << orderText(operation, order);
    }
    m_orders->setText(orders.join(QLatin1Char('\n')));
    m_orders->setVisible(!orders.isEmpty());
}

}  // namespace browser
