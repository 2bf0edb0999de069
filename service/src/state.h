#ifndef SERVICE_STATE_H_
#define SERVICE_STATE_H_

#include <chrono>
#include <filesystem>
#include <functional>
#include <list>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "account/account.h"
#include "loop.h"
#include "orders.h"
#include "popups.h"
#include "store.h"

namespace service {

using Json = nlohmann::ordered_json;

/// How much later than this machine's a state's clock may be: a hundred years.
constexpr std::chrono::milliseconds kLatestClock = kLongestDelay;

/// What a state needs of the world, so that it can be tested without a bus.
class World {
  public:
    virtual ~World() = default;
    virtual Loop& loop() = 0;
    /// Tells whoever watches the state of something that happened.
    virtual void tell(const std::string& state, const Json& event) = 0;
    /// The agent, by its unique name on the bus, that has registered with `key`; "" for none.
    virtual std::string agentOf(const std::string& key) = 0;
    /// Has the agent show a window; `failed` is called when it cannot.
    virtual void openWindow(const OpenPopup& popup, const std::string& title,
                            const std::string& html, std::function<void()> failed) = 0;
    virtual void closeWindow(const OpenPopup& popup) = 0;
    virtual void fillWindow(const OpenPopup& popup,
                            const std::map<std::string, std::string>& fields, bool submit) = 0;
};

/// What the person is told about the fields of a form, by their names; "" for the whole form.
using FormErrors = std::map<std::string, std::string>;

/// One named state: accounts with their store, a clock, orders, and the popups under way. What changes it is on
/// the disk when the function returns. Throws StoreError when that fails; then nothing has changed.
class State {
  public:
    /// @param file   of the store.
    /// @param world  must outlive the state.
    State(std::string name, const std::filesystem::path& file, World& world);
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    const std::string& name() const { return m_name; }
    World& world() { return m_world; }

    /// The accounts as they are. Sees what another process has changed.
    const account::Account& account();

    /// What the accounts' own users do: see account::Account. Tells watchers when that changed something.
    ///
    /// @param what  for watchers, such as "session", "mappings", "terms", "tokens".
    template <typename Work>
    auto change(const char* what, Work work) {
        refresh();
        auto result = work(m_account);
        changed(what);
        return result;
    }

    /// What an administrator does: changes the description as a whole. Passwords that are not hashed yet
    /// are afterwards.
    void administer(const char* what, const std::function<void(account::Description&)>& work);

    /// Everything that is kept becomes another, at once: accounts, orders and clock. Popups that
    /// are open stay; what was set for later ones is taken back.
    void replace(account::Description description, Orders orders, std::chrono::milliseconds clock);

    /// The clock: this machine's, and as much later as it was advanced.
    account::Time now();
    std::chrono::milliseconds clockOffset();
    void setClockOffset(std::chrono::milliseconds offset);

    const Orders& orders();
    /// Changes the orders.
    void order(const std::function<void(Orders&)>& work);
    std::optional<int> takeFailure(account::Operation operation, bool start);

    // Popups.
    /// Begins one: it ends as was set for it, or is shown by its agent, or fails at once.
    void openPopup(OpenPopup popup);
    const std::map<std::uint64_t, OpenPopup>& popups() const { return m_popups; }
    /// Ends one, for the account too. Nothing when it is not there (any more).
    void endPopup(std::uint64_t id, account::PopupState state);
    void fillPopup(std::uint64_t id, const std::map<std::string, std::string>& fields, bool submit);
    /// The next popup of a kind ends so by itself. It is kept: the program that asks for it may come later.
    void setNextPopup(PopupKind kind, account::PopupState state);
    const std::map<PopupKind, account::PopupState>& nextPopups();
    void clearNextPopups();
    /// Ends those of a caller or an agent that is gone, or a caller that wants no more.
    void endPopupsOf(const std::string& busName);
    void endAllPopups();

    /// The person pressed something in a popup's window. Wrong input changes nothing.
    ///
    /// @return what is wrong; nothing when the popup has ended.
    std::optional<FormErrors> submit(std::uint64_t id, const std::string& action,
                                     const std::map<std::string, std::string>& fields);

    /// Tells watchers of an event; adds nothing to it but the time.
    void tell(Json event);

  private:
    void refresh();
    void reload();
    void keep(account::Description description, std::map<std::string, std::string> values);
    void keepNextPopups(const std::map<PopupKind, account::PopupState>& next);
    void changed(const char* what);
    void showPopup(OpenPopup& popup);
    FormErrors createAccount(const std::map<std::string, std::string>& fields);

    const std::string m_name;
    World& m_world;
    Store m_store;
    std::int64_t m_seen = 0;  ///< of Store::changes()
    account::Account m_account;
    Orders m_orders;
    std::chrono::milliseconds m_clockOffset{0};
    std::map<std::uint64_t, OpenPopup> m_popups;
    std::map<PopupKind, account::PopupState> m_nextPopups;
    std::uint64_t m_nextId = 1;
};

}  // namespace service

#endif
