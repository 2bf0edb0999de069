#include "service.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "service/bus_client.h"
#include "service/state_name.h"

namespace service {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRoot = "/example/korvane/SSO1";
constexpr const char* kExtension = ".db";

void require(int result, const char* what) {
    if (result < 0) {
        throw std::runtime_error(std::string(what) + ": " +
                                 std::generic_category().message(-result));
    }
}

/// The folder is there for its user alone. Not when the service starts: whoever asks for a state is told what is wrong.
void makePrivateFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!error) fs::permissions(folder, fs::perms::owner_all, error);
    if (error) throw StoreError(folder.string() + ": " + error.message());
}

int findObject(sd_bus* /*bus*/, const char* path, const char* /*interface*/, void* user,
               void** found, sd_bus_error* error) {
    *found = static_cast<Service*>(user)->find(path, error);
    if (*found != nullptr) return 1;
    return sd_bus_error_is_set(error) != 0 ? -sd_bus_error_get_errno(error) : 0;
}

}  // namespace

Exported::Exported(Service& owner, const std::string& name, const fs::path& file)
    : service(owner), state(name, file, owner), requests(state) {}

Service::Service(Loop& loop, const std::string& address, fs::path folder,
                 std::chrono::milliseconds idle)
    : m_loop(loop), m_folder(std::move(folder)), m_idle(idle) {
    connect(address);
    exportInterfaces();
    const int owned = sd_bus_request_name(m_bus.get(), kBusName, 0);
    if (owned == -EEXIST) throw std::runtime_error("another account service is on this bus");
    require(owned, "the name on the bus");
    waitForCallers();
}

Service::~Service() = default;

void Service::connect(const std::string& address) {
    sd_bus* bus = nullptr;
    require(sd_bus_new(&bus), "bus");
    m_bus.reset(bus);
    require(sd_bus_set_address(bus, address.c_str()), "the bus's address");
    require(sd_bus_set_bus_client(bus, 1), "bus");
    require(sd_bus_set_exit_on_disconnect(bus, 1), "bus");
    require(sd_bus_start(bus), "the bus cannot be reached");
    require(sd_bus_attach_event(bus, m_loop.get(), 0), "bus");
    require(sd_bus_match_signal(bus, nullptr, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                "org.freedesktop.DBus", "NameOwnerChanged",
                                &Service::onOwnerChanged, this),
            "bus");
}

void Service::exportInterfaces() {
    const std::pair<const char*, const sd_bus_vtable*> interfaces[] = {
        {bus::account::kName, kAccountTable},
        {bus::windows::kName, kWindowsTable},
        {bus::control::kName, kControlTable},
    };
    for (const auto& [name, table] : interfaces) {
        require(
            sd_bus_add_fallback_vtable(m_bus.get(), nullptr, kRoot, name, table, &findObject, this),
            name);
    }
}

Exported& Service::exported(const std::string& name) {
    auto& state = m_states[name];
    if (!state) {
        try {
            makePrivateFolder(m_folder);
            state = std::make_unique<Exported>(*this, name, m_folder / (name + kExtension));
        } catch (...) {
            m_states.erase(name);
            throw;
        }
    }
    return *state;
}

Exported* Service::find(const char* path, sd_bus_error* error) {
    m_removed.clear();
    char* decoded = nullptr;
    if (sd_bus_path_decode(path, kRoot, &decoded) <= 0) return nullptr;
    const std::string name = decoded;
    std::free(decoded);
    if (!isStateName(name)) return nullptr;
    try {
        return &exported(name);
    } catch (const std::exception& failure) {
        sd_bus_error_set(error, SD_BUS_ERROR_FAILED, failure.what());
        return nullptr;
    }
}

bool Service::admit(sd_bus_message* call) {
    const char* sender = sd_bus_message_get_sender(call);
    if (sender == nullptr) return false;
    if (m_callers.count(sender) != 0) return true;
    // Buses of a user let nobody else in; this is for one that was set up otherwise.
    sd_bus_creds* creds = nullptr;
    uid_t user = 0;
    const bool isSame = sd_bus_query_sender_creds(call, SD_BUS_CREDS_EUID, &creds) >= 0 &&
                        sd_bus_creds_get_euid(creds, &user) >= 0 && user == geteuid();
    sd_bus_creds_unref(creds);
    if (isSame) {
        m_callers.insert(sender);
        m_idleTimer = Timer();
    }
    return isSame;
}

void Service::registerAgent(const std::string& key, const std::string& busName) {
    m_agents[key] = busName;
}

std::string Service::agentOf(const std::string& key) {
    const auto found = m_agents.find(key);
    return found != m_agents.end() ? found->second : std::string();
}

void Service::tell(const std::string& state, const Json& event) {
    if (!m_bus) return;
    sd_bus_emit_signal(m_bus.get(), pathOf(state).c_str(), bus::control::kName,
                       bus::control::kEvent, "s",
                       event.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

struct Service::WindowCall {
    std::function<void()> failed;
};

int Service::onWindowAnswer(sd_bus_message* answer, void* user, sd_bus_error* /*error*/) {
    if (sd_bus_message_is_method_error(answer, nullptr) > 0) {
        static_cast<WindowCall*>(user)->failed();
    }
    return 1;
}

void Service::openWindow(const OpenPopup& popup, const std::string& title, const std::string& html,
                         std::function<void()> failed) {
    auto call = std::make_unique<WindowCall>(WindowCall{std::move(failed)});
    sd_bus_slot* slot = nullptr;
    if (sd_bus_call_method_async(m_bus.get(), &slot, popup.agent.c_str(), kAgentPath,
                                 bus::agent::kName, bus::agent::kOpen.name, &onWindowAnswer,
                                 call.get(), bus::agent::kOpen.in, popup.id, title.c_str(),
                                 html.c_str()) < 0) {
        call->failed();
        return;
    }
    sd_bus_slot_set_destroy_callback(slot,
                                     [](void* user) { delete static_cast<WindowCall*>(user); });
    sd_bus_slot_set_floating(slot, 1);
    sd_bus_slot_unref(slot);
    static_cast<void>(call.release());  // it is the slot's now
}

void Service::closeWindow(const OpenPopup& popup) {
    sd_bus_call_method_async(m_bus.get(), nullptr, popup.agent.c_str(), kAgentPath,
                             bus::agent::kName, bus::agent::kTakeAway.name, nullptr, nullptr,
                             bus::agent::kTakeAway.in, popup.id);
}

void Service::fillWindow(const OpenPopup& popup, const std::map<std::string, std::string>& fields,
                         bool submit) {
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_call(m_bus.get(), &made, popup.agent.c_str(), kAgentPath,
                                       bus::agent::kName, bus::agent::kFill.name) < 0) {
        return;
    }
    const Message call(made);
    sd_bus_message_append(made, "t", popup.id);
    sd_bus_message_open_container(made, 'a', "{ss}");
    for (const auto& [name, value] : fields) {
        sd_bus_message_append(made, "{ss}", name.c_str(), value.c_str());
    }
    sd_bus_message_close_container(made);
    sd_bus_message_append(made, "b", static_cast<int>(submit));
    sd_bus_send(m_bus.get(), made, nullptr);
}

std::vector<std::string> Service::names() {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_folder)) {
        const std::string name = entry.path().stem().string();
        if (entry.path().extension() == kExtension && isStateName(name)) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

State& Service::get(const std::string& name) {
    if (!isStateName(name)) {
        throw StoreError(std::string("a state's name ") + kStateNameRule);
    }
    return exported(name).state;
}

bool Service::remove(const std::string& name) {
    if (!isStateName(name)) return false;
    const auto open = m_states.find(name);
    if (open != m_states.end()) {
        open->second->requests.cancelAll();
        open->second->state.endAllPopups();
        // It may be the one whose verb asks for this.
        m_removed.push_back(std::move(open->second));
        m_states.erase(open);
    }
    const fs::path file = m_folder / (name + kExtension);
    std::error_code error;
    for (const char* further : {"-wal", "-shm"}) fs::remove(file.string() + further, error);
    return fs::remove(file, error);
}

void Service::onNameLost(const std::string& busName) {
    for (auto agent = m_agents.begin(); agent != m_agents.end();) {
        agent = agent->second == busName ? m_agents.erase(agent) : std::next(agent);
    }
    for (const auto& [name, state] : m_states) {
        state->state.endPopupsOf(busName);
        state->requests.forget(busName);
    }
    m_callers.erase(busName);
    waitForCallers();
}

void Service::waitForCallers() {
    if (!m_callers.empty() || m_idle.count() == 0) return;
    m_idleTimer = m_loop.after(m_idle, [this] { m_loop.end(); });
}

int Service::onOwnerChanged(sd_bus_message* signal, void* user, sd_bus_error* /*error*/) {
    const char* name = nullptr;
    const char* former = nullptr;
    const char* owner = nullptr;
    if (sd_bus_message_read(signal, "sss", &name, &former, &owner) < 0) return 0;
    if (*name == ':' && *owner == '\0') static_cast<Service*>(user)->onNameLost(name);
    return 0;
}

}  // namespace service
