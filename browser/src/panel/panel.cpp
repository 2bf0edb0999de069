#include "src/panel/panel.h"

#include <QTabWidget>
#include <QVBoxLayout>

#include "src/panel/account_section.h"
#include "src/panel/log_section.h"
#include "src/panel/messages_section.h"
#include "src/panel/privileges_section.h"

namespace browser {

Panel::Panel(const PanelSetting& setting) {
    setMinimumWidth(420);
    auto* layout = new QVBoxLayout(this);
    m_account = new AccountSection(setting.runVerb, setting.account);
    layout->addWidget(m_account);
    layout->addWidget(new PrivilegesSection(setting.application));
    auto* tabs = new QTabWidget;
    m_messages = new MessagesSection;
    tabs->addTab(m_messages, QStringLiteral("Messages"));
    tabs->addTab(new LogSection(setting.log), QStringLiteral("Log"));
    layout->addWidget(tabs, 1);
}

Panel::~Panel() = default;

void Panel::onMessage(const std::string& line) { m_messages->add(line); }

void Panel::onEvent(const QString& json) { m_account->onEvent(json); }

}  // namespace browser
