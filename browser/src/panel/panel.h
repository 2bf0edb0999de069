#ifndef BROWSER_PANEL_PANEL_H_
#define BROWSER_PANEL_PANEL_H_

#include <QWidget>
#include <filesystem>
#include <string>

#include "embedder/vendor_table.h"
#include "src/panel/remote_control.h"

namespace browser {

class AccountSection;
class LogSection;
class MessagesSection;

/// What the panel is about.
struct PanelSetting {
    embedder::Application application;
    RunVerb runVerb;            ///< empty without the account service
    QString account;            ///< what stands in its place, in words
    std::filesystem::path log;  ///< of the plug-in; empty when it is elsewhere
};

/// What a developer sees and does beside a page: the account and its switches, the application's privileges, the
/// messages, the log. The thread of the event loop.
class Panel : public QWidget {
  public:
    explicit Panel(const PanelSetting& setting);
    ~Panel() override;

    /// A line of embedder::MessageJournal.
    void onMessage(const std::string& line);
    /// The account service tells of something; empty when it was lost.
    void onEvent(const QString& json);

  private:
    AccountSection* m_account = nullptr;
    MessagesSection* m_messages = nullptr;
};

}  // namespace browser

#endif
