#ifndef BROWSER_ACCOUNT_ACCOUNT_LINK_H_
#define BROWSER_ACCOUNT_ACCOUNT_LINK_H_

#include <QObject>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "service/bus_client.h"
#include "src/panel/remote_control.h"

namespace browser {

using PopupNumber = std::uint64_t;
using Texts = std::map<std::string, std::string>;  ///< by the fields' names

/// This browser's way to the account service: it is the agent that shows the popups' windows, and speaks to the
/// remote control. Registers again when the service or the connection was lost. The thread of the event loop,
/// on which all that it tells comes, too.
class AccountLink {
  public:
    /// What the service asks of its agent. All must be set.
    struct Observer {
        std::function<void(PopupNumber popup, const QString& title, const QString& html)> open;
        std::function<void(PopupNumber popup)> takeAway;
        std::function<void(PopupNumber popup, const Texts& fields, bool press)> fill;
        std::function<void()> lost;         ///< the service, and with it all popups
        std::function<void()> unreachable;  ///< before it is tried again
    };
    /// @param answered  whether the service did; without, the others say nothing.
    /// @param done      the popup has ended.
    using Submitted = std::function<void(bool answered, bool done, const Texts& errors)>;

    /// A text for one run of this browser, by which the plug-in's process says where its popups are shown.
    static std::string makeKey();

    /// @param address  of the bus.
    AccountLink(const std::string& address, const std::string& state, std::string key,
                Observer observer);
    AccountLink(const AccountLink&) = delete;
    AccountLink& operator=(const AccountLink&) = delete;

    /// Follows the signal Control.Event. @param watcher  gets an empty text when the service was lost.
    void watch(std::function<void(const QString& json)> watcher) { m_watcher = std::move(watcher); }

    void submit(PopupNumber popup, const std::string& action, const Texts& fields,
                Submitted submitted);
    void closed(PopupNumber popup);
    void failed(PopupNumber popup);
    /// Runs a verb of the remote control.
    void run(const QStringList& words, std::function<void(const VerbResult&)> done);

    // The connection's, on its thread:

    /// Has something done by the event loop.
    void handOver(std::function<void()> what);
    const Observer& observer() const { return m_observer; }

  private:
    void registerAgent();
    int prepare(sd_bus* bus);
    void tell(const bus::Method& method, PopupNumber popup);
    void onLost();
    static int onOwnerChanged(sd_bus_message* signal, void* link, sd_bus_error* error);
    static int onDisconnected(sd_bus_message* signal, void* link, sd_bus_error* error);
    static int onEvent(sd_bus_message* signal, void* link, sd_bus_error* error);

    const std::string m_path;
    const std::string m_key;
    const Observer m_observer;
    std::function<void(const QString&)> m_watcher;
    QObject m_context;            ///< of what is handed over
    service::BusClient m_client;  // last, as its thread uses the others
};

}  // namespace browser

#endif
