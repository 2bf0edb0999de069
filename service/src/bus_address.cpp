#include "service/bus_address.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "service/bus_client.h"

namespace service {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// Starts the bus's keeper and waits until the bus is there.
void startKeeper(const fs::path& ssod, const fs::path& folder) {
    pid_t child = 0;
    const std::string program = ssod.string();
    const std::string option = "--keep-bus=" + folder.string();
    const char* arguments[] = {program.c_str(), option.c_str(), nullptr};
    const int result = posix_spawn(&child, program.c_str(), nullptr, nullptr,
                                   const_cast<char* const*>(arguments), environ);
    if (result != 0) {
        throw std::system_error(result, std::generic_category(), program);
    }
    // The keeper goes on as a process of its own once the bus is there; its first one ends then.
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) fail("waiting for the bus");
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error("the account service's bus could not be started");
    }
}

}  // namespace

fs::path privateBusFolder() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    fs::path folder;
    if (runtime != nullptr && *runtime == '/' && access(runtime, W_OK) == 0) {
        folder = fs::path(runtime) / "sso-desk-bus";
    } else {
        folder = fs::temp_directory_path() / ("sso-desk-bus-" + std::to_string(getuid()));
    }
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) fail(folder.string());
    struct stat status {};
    if (lstat(folder.c_str(), &status) != 0) fail(folder.string());
    if (!S_ISDIR(status.st_mode) || status.st_uid != geteuid() || (status.st_mode & 0077) != 0) {
        throw std::runtime_error(folder.string() +
                                 " is not a folder of this user alone; remove it, or set "
                                 "XDG_RUNTIME_DIR");
    }
    return folder;
}

std::string privateBusAddress(const fs::path& folder) {
    // Whatever has a meaning in an address is written as %xx.
    std::string address = "unix:path=";
    for (const char letter : (folder / "bus").string()) {
        const bool isPlain = std::isalnum(static_cast<unsigned char>(letter)) != 0 ||
                             std::strchr("-_/.", letter) != nullptr;
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02x", static_cast<unsigned char>(letter));
        address += isPlain ? std::string(1, letter) : escaped;
    }
    return address;
}

// Whoever ends the bus removes the folder with the lock: what was locked may not be what is there.
FolderLock::FolderLock(const fs::path& folder) {
    const fs::path path = folder / "lock";
    for (;;) {
        if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) fail(folder.string());
        m_file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (m_file < 0 && errno == ENOENT) continue;
        if (m_file < 0) fail(path.string());
        while (flock(m_file, LOCK_EX) != 0) {
            if (errno != EINTR) fail(path.string());
        }
        struct stat locked {};
        struct stat there {};
        if (fstat(m_file, &locked) == 0 && stat(path.c_str(), &there) == 0 &&
            locked.st_ino == there.st_ino && locked.st_dev == there.st_dev) {
            return;
        }
        close(m_file);
    }
}

FolderLock::~FolderLock() { close(m_file); }

BusHold::Bus BusHold::connect(const std::string& address) {
    sd_bus* made = nullptr;
    if (sd_bus_new(&made) < 0) return nullptr;
    Bus bus(made);
    const char* name = nullptr;
    const bool isThere =
        sd_bus_set_address(made, address.c_str()) >= 0 && sd_bus_set_bus_client(made, 1) >= 0 &&
        sd_bus_set_method_call_timeout(made, 2000000) >= 0 && sd_bus_start(made) >= 0 &&
        sd_bus_get_unique_name(made, &name) >= 0;  // waits until it is greeted
    return isThere ? std::move(bus) : nullptr;
}

bool BusHold::knowsService(sd_bus* bus) {
    char** owned = nullptr;
    char** activatable = nullptr;
    if (sd_bus_list_names(bus, &owned, &activatable) < 0) return false;
    bool found = false;
    for (char** names : {owned, activatable}) {
        for (char** name = names; name != nullptr && *name != nullptr; ++name) {
            found = found || std::string_view(*name) == kBusName;
            std::free(*name);
        }
        std::free(names);
    }
    return found;
}

BusHold BusHold::get(const fs::path& ssod) {
    const char* session = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (session != nullptr && *session != '\0') {
        BusHold hold(session, ssod, {});
        hold.m_bus = connect(session);
        if (hold.m_bus && knowsService(hold.m_bus.get())) return hold;
    }
    const fs::path folder = privateBusFolder();
    BusHold hold(privateBusAddress(folder), ssod, folder);
    hold.renew();
    return hold;
}

void BusHold::renew() {
    if (!m_isPrivate) return;
    const FolderLock lock(m_folder);
    Bus bus = connect(m_address);
    if (!bus) {
        startKeeper(m_ssod, m_folder);
        bus = connect(m_address);
    }
    if (!bus) throw std::runtime_error("the account service's bus does not answer");
    m_bus = std::move(bus);
}

}  // namespace service
