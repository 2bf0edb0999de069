#include "service_process.h"

#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "service/bus_client.h"

namespace {

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
    setenv("SSO_STATE", "test", 1);
}

void ServiceProcess::requireBus() {
    m_bus.reset();
    m_bus.emplace(service::BusHold::get(SSO_TEST_SSOD));
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
    if (const auto process = processOf(service::kBusName)) kill(*process, signal);
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

std::filesystem::path ServiceProcess::database() const {
    return m_folder.path("sso-desk/states/test.db");
}
