#include "service_process.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

constexpr const char* kState = "test";
constexpr const char* kAgentKey = "agent-of-tests";

struct Unref {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

}  // namespace

ServiceProcess& ServiceProcess::instance() {
    static ServiceProcess process;
    return process;
}

ServiceProcess::ServiceProcess() {
    setenv("XDG_RUNTIME_DIR", m_folder.path("").c_str(), 1);
    setenv("XDG_DATA_HOME", m_folder.path("").c_str(), 1);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    requireBus();
    setenv("SSO_BUS_ADDRESS", m_bus->address().c_str(), 1);
    setenv("SSO_STATE", kState, 1);
    setenv("SSO_AGENT", kAgentKey, 1);
}

void ServiceProcess::requireBus() {
    m_bus.reset();
    m_bus.emplace(service::BusHold::get(SSO_TEST_SSOD));
}

std::optional<std::string> ServiceProcess::outputOf(const char* subject, const char* verb,
                                                    const std::string& input) {
    service::BusClient client(m_bus->address());
    std::optional<std::string> told;
    client.callAndWait(
        bus::control::kRun, service::pathOf(kState),
        [&](sd_bus_message* call) {
            return sd_bus_message_append(call, bus::control::kRun.in, 2, subject, verb,
                                         input.c_str());
        },
        std::chrono::seconds(10),
        [&](sd_bus_message* answer) {
            int exitCode = -1;
            const char* output = nullptr;
            if (sd_bus_message_read(answer, "is", &exitCode, &output) >= 0 && exitCode == 0) {
                told = output;
            }
        });
    return told;
}

bool ServiceProcess::load(const std::string& json) {
    return outputOf("state", "load", json).has_value();
}

int ServiceProcess::openPopups() {
    const auto list = outputOf("popup", "list", "");
    return list ? static_cast<int>(nlohmann::json::parse(*list).size()) : -1;
}

std::optional<pid_t> ServiceProcess::processOf(const char* name) {
    sd_bus* made = nullptr;
    sd_bus_new(&made);
    const std::unique_ptr<sd_bus, Unref> bus(made);
    if (sd_bus_set_address(made, m_bus->address().c_str()) < 0 ||
        sd_bus_set_bus_client(made, 1) < 0 || sd_bus_start(made) < 0) {
        return std::nullopt;
    }
    sd_bus_message* got = nullptr;
    if (sd_bus_call_method(made, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", "GetConnectionUnixProcessID", nullptr, &got, "s",
                           name) < 0) {
        return std::nullopt;
    }
    const std::unique_ptr<sd_bus_message, Unref> answer(got);
    std::uint32_t process = 0;
    if (sd_bus_message_read(got, "u", &process) < 0) return std::nullopt;
    return static_cast<pid_t>(process);
}

void ServiceProcess::killService(int signal) {
    if (const auto process = service()) kill(*process, signal);
}

void ServiceProcess::killBus() {
    const auto process = processOf("org.freedesktop.DBus");
    if (!process) return;
    kill(*process, SIGKILL);
    while (processOf("org.freedesktop.DBus") == process) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

pid_t ServiceProcess::startUser() {
    const pid_t child = fork();
    if (child == 0) {
        execl(SSO_TEST_USER, SSO_TEST_USER, nullptr);
        _exit(127);
    }
    return child;
}

void ServiceProcess::startAgent() {
    int ready[2] = {-1, -1};
    if (pipe2(ready, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    m_agent = fork();
    if (m_agent == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // whatever becomes of the test
        dup2(ready[1], STDOUT_FILENO);
        execl(SSO_TEST_AGENT, SSO_TEST_AGENT, m_bus->address().c_str(), kState, kAgentKey, nullptr);
        _exit(127);
    }
    close(ready[1]);
    char letter = 0;
    const bool isKnown = read(ready[0], &letter, 1) == 1;
    close(ready[0]);
    if (!isKnown) throw std::runtime_error("the agent cannot be registered");
}

void ServiceProcess::killAgent() {
    if (m_agent < 0) return;
    kill(m_agent, SIGKILL);
    waitpid(m_agent, nullptr, 0);
    m_agent = -1;
}

std::filesystem::path ServiceProcess::database() const {
    return m_folder.path("sso-desk/states/test.db");
}
