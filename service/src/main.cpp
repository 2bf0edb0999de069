#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>

#include "bus_keeper.h"
#include "loop.h"
#include "service.h"

namespace {

namespace fs = std::filesystem;

/// Where the states are kept.
fs::path dataFolder() {
    const char* data = std::getenv("XDG_DATA_HOME");
    const char* home = std::getenv("HOME");
    fs::path folder;
    if (data != nullptr && *data == '/') {
        folder = data;
    } else if (home != nullptr && *home == '/') {
        folder = fs::path(home) / ".local/share";
    } else {
        throw std::runtime_error("set HOME or XDG_DATA_HOME, so that the accounts have a place");
    }
    return folder / "sso-desk" / "states";
}

std::string busAddress() {
    for (const char* variable : {"DBUS_STARTER_ADDRESS", "DBUS_SESSION_BUS_ADDRESS"}) {
        const char* address = std::getenv(variable);
        if (address != nullptr && *address != '\0') return address;
    }
    throw std::runtime_error("there is no bus; sso-browser and ssoctl start it with one");
}

int run(int argc, char** argv) {
    CLI::App app("The account service of the desk. The programs that need it start it.", "ssod");
    std::string keptFolder;
    int idle = 30;
    app.add_option("--keep-bus", keptFolder,
                   "Start a private bus with its socket in the folder, which ends with its users")
        ->type_name("FOLDER");
    app.add_option("--idle", idle, "End after so many seconds without a caller; 0: never")
        ->type_name("SECONDS")
        ->check(CLI::Range(0, 86400))
        ->capture_default_str();
    app.set_version_flag("--version", "ssod " SSO_VERSION, "Print the version and exit");
    CLI11_PARSE(app, argc, argv);
    if (!keptFolder.empty()) {
        return service::keepBus(keptFolder, fs::read_symlink("/proc/self/exe"));
    }
    service::Loop loop;
    loop.endOnSignals();
    const service::Service service(loop, busAddress(), dataFolder(), std::chrono::seconds(idle));
    loop.run();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ssod: %s\n", error.what());
        return 1;
    }
}
