#ifndef SERVICE_SERVICE_H_
#define SERVICE_SERVICE_H_

#include <systemd/sd-bus.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "requests.h"
#include "state.h"
#include "verbs.h"

namespace service {

class Service;

/// A state as an object on the bus: what the handlers of the interfaces' methods get.
struct Exported {
    Exported(Service& owner, const std::string& name, const std::filesystem::path& file);
    Service& service;
    State state;
    Requests requests;
};

/// The account service on a bus: its states, its callers and its agents.
class Service : public World, public States {
  public:
    /// @param folder  of the states' files; is made with the first.
    /// @param idle    after which without a caller it ends; 0: never.
    /// @throws std::runtime_error  when there is no such bus, or another service on it.
    Service(Loop& loop, const std::string& address, std::filesystem::path folder,
            std::chrono::milliseconds idle);
    ~Service() override;
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// Makes or finds the state of an object path.
    ///
    /// @return null, with the reason in `error`, when it cannot be used.
    Exported* find(const char* path, sd_bus_error* error);
    /// Whether a caller may call: it is of the same user. Its end will be noticed.
    bool admit(sd_bus_message* call);
    void registerAgent(const std::string& key, const std::string& busName);

    Loop& loop() override { return m_loop; }
    void tell(const std::string& state, const Json& event) override;
    std::string agentOf(const std::string& key) override;
    void openWindow(const OpenPopup& popup, const std::string& title, const std::string& html,
                    std::function<void()> failed) override;
    void closeWindow(const OpenPopup& popup) override;
    void fillWindow(const OpenPopup& popup, const std::map<std::string, std::string>& fields,
                    bool submit) override;

    std::vector<std::string> names() override;
    State& get(const std::string& name) override;
    bool remove(const std::string& name) override;

  private:
    struct Unref {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };
    struct WindowCall;

    void connect(const std::string& address);
    void exportInterfaces();
    Exported& exported(const std::string& name);
    void onNameLost(const std::string& busName);
    void waitForCallers();
    static int onOwnerChanged(sd_bus_message* signal, void* service, sd_bus_error* error);
    static int onWindowAnswer(sd_bus_message* answer, void* call, sd_bus_error* error);

    Loop& m_loop;
    const std::filesystem::path m_folder;
    const std::chrono::milliseconds m_idle;
    std::unique_ptr<sd_bus, Unref> m_bus;
    std::map<std::string, std::unique_ptr<Exported>> m_states;
    std::vector<std::unique_ptr<Exported>> m_removed;  ///< until the call that removed them is over
    std::set<std::string> m_callers;                   ///< admitted, by unique names
    std::map<std::string, std::string> m_agents;       ///< unique names by their keys
    Timer m_idleTimer;
};

}  // namespace service

#endif
