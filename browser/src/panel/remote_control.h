#ifndef BROWSER_PANEL_REMOTE_CONTROL_H_
#define BROWSER_PANEL_REMOTE_CONTROL_H_

#include <QString>
#include <QStringList>
#include <functional>

namespace browser {

/// What a verb of the account service's remote control gives.
struct VerbResult {
    int exitCode = -1;  ///< 0 done; -1: the service does not answer
    QString output;     ///< JSON
    QString error;      ///< one line for a person; empty when it is done
};

/// Runs a verb, such as "account", "list"; `done` is told later. The thread of the event loop.
using RunVerb =
    std::function<void(const QStringList& words, std::function<void(const VerbResult&)> done)>;

}  // namespace browser

#endif
