#ifndef BROWSER_PANEL_ACCOUNT_SECTION_H_
#define BROWSER_PANEL_ACCOUNT_SECTION_H_

#include <QGroupBox>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>

#include "src/panel/remote_control.h"

namespace browser {

/// The account and its session, and switches that act at once, by the account service's remote control.
class AccountSection : public QGroupBox {
  public:
    /// @param runVerb  empty when there is no service: then it tells `instead`.
    AccountSection(RunVerb runVerb, const QString& instead);

    /// What the service tells; empty when it was lost.
    void onEvent(const QString& json);

  private:
    void addPresets(QVBoxLayout& layout);
    void addSwitches(QVBoxLayout& layout);
    void addFaults(QVBoxLayout& layout);
    /// Runs a verb and tells how it went.
    void press(const QStringList& words);
    void refresh();
    void showStatus(const VerbResult& status);

    const RunVerb m_runVerb;
    QLabel* m_session = nullptr;
    QLabel* m_counts = nullptr;
    QLabel* m_orders = nullptr;
    QLabel* m_outcome = nullptr;
    QTimer m_refreshing;  ///< soon, once for several changes
};

}  // namespace browser

#endif
