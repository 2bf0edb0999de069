#include "bus_keeper.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <system_error>

#include "base/markup.h"
#include "loop.h"
#include "service/bus_address.h"
#include "service/bus_client.h"

namespace service {
namespace {

namespace fs = std::filesystem;

/// For how long nobody may use the bus before it ends: one program often follows another.
constexpr std::chrono::milliseconds kIdle{2000};

// Like a session's bus: who may connect is the user alone, and the limits are those of a desktop.
constexpr const char* kConfiguration = R"(<!DOCTYPE busconfig PUBLIC
  "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
  "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>%s</listen>
  <auth>EXTERNAL</auth>
  <servicedir>%s</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_message_size">100000000</limit>
  <limit name="service_start_timeout">10000</limit>
  <limit name="max_completed_connections">10000</limit>
  <limit name="max_match_rules_per_connection">10000</limit>
  <limit name="max_replies_per_connection">100000</limit>
</busconfig>
)";

void writeFile(const fs::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::trunc);
    file << text;
    file.close();
    if (!file) throw std::system_error(EIO, std::generic_category(), path.string());
}

/// What the bus needs to know, below the folder.
void configure(const fs::path& folder, const fs::path& ssod) {
    const fs::path services = folder / "services";
    fs::create_directories(services);
    writeFile(services / (std::string(kBusName) + ".service"),
              "[D-BUS Service]\nName=" + std::string(kBusName) + "\nExec=\"" + ssod.string() +
                  "\" --idle=0\n");
    std::string configuration(1 << 14, '\0');
    const int size = std::snprintf(configuration.data(), configuration.size(), kConfiguration,
                                   base::escapedForMarkup(privateBusAddress(folder)).c_str(),
                                   base::escapedForMarkup(services.string()).c_str());
    configuration.resize(static_cast<std::size_t>(size));
    writeFile(folder / "bus.conf", configuration);
}

/// Who waits for the end of the first program's output does not wait for the bus.
void closeStreams() {
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, stream);
    close(nothing);
}

/// Ends with its parent, whatever becomes of that.
pid_t startBus(const fs::path& folder, int ready) {
    const pid_t parent = getpid();
    const pid_t bus = fork();
    if (bus != 0) return bus;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
    const std::string configuration = "--config-file=" + (folder / "bus.conf").string();
    const std::string address = "--print-address=" + std::to_string(ready);
    fcntl(ready, F_SETFD, 0);
    // It complains of limits that it cannot raise; what matters is told by its end.
    const int errors = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    closeStreams();
    execlp("dbus-daemon", "dbus-daemon", configuration.c_str(), "--nofork", "--nopidfile",
           "--nosyslog", address.c_str(), nullptr);
    dprintf(errors, "ssod: dbus-daemon cannot be started; it is in the package dbus-daemon\n");
    _exit(127);
}

/// Whether the bus said within some seconds where it listens.
bool isReady(int pipe) {
    pollfd file{pipe, POLLIN, 0};
    char letter = 0;
    return poll(&file, 1, 10000) == 1 && read(pipe, &letter, 1) == 1;
}

/// Watches who is on the bus.
class Users {
  public:
    Users(Loop& loop, const fs::path& folder) : m_loop(loop), m_folder(folder) {}
    ~Users() { sd_bus_flush_close_unref(m_bus); }
    Users(const Users&) = delete;
    Users& operator=(const Users&) = delete;

    /// Throws std::system_error.
    void connect() {
        check(sd_bus_new(&m_bus));
        check(sd_bus_set_address(m_bus, privateBusAddress(m_folder).c_str()));
        check(sd_bus_set_bus_client(m_bus, 1));
        check(sd_bus_start(m_bus));
        check(sd_bus_attach_event(m_bus, m_loop.get(), 0));
        check(sd_bus_set_exit_on_disconnect(m_bus, 1));
        check(sd_bus_match_signal(m_bus, nullptr, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                  "org.freedesktop.DBus", "NameOwnerChanged", &onChange, this));
    }

    void look() {
        m_timer = m_loop.after(kIdle, [this] { endWithoutUsers(); });
    }

  private:
    static void check(int result) {
        if (result < 0) throw std::system_error(-result, std::generic_category(), "the new bus");
    }

    static int onChange(sd_bus_message* /*signal*/, void* user, sd_bus_error* /*error*/) {
        static_cast<Users*>(user)->look();
        return 0;
    }

    /// Under the lock nobody comes: who starts a program looks for the bus with it.
    void endWithoutUsers() {
        if (!fs::exists(m_folder)) return m_loop.end();  // with its socket, so nobody comes
        const FolderLock lock(m_folder);
        if (count() > 0) return;
        std::error_code error;
        for (const char* name : {"bus", "bus.conf", "lock"}) fs::remove(m_folder / name, error);
        fs::remove_all(m_folder / "services", error);
        fs::remove(m_folder, error);
        m_loop.end();
    }

    /// Those besides the keeper and the account service.
    int count() {
        char** names = nullptr;
        if (sd_bus_list_names(m_bus, &names, nullptr) < 0) return 0;
        int connections = 0;
        bool hasService = false;
        for (char** name = names; *name != nullptr; ++name) {
            const std::string_view text = *name;
            if (text.front() == ':') ++connections;
            if (text == kBusName) hasService = true;
            std::free(*name);
        }
        std::free(names);
        return connections - 1 - (hasService ? 1 : 0);
    }

    Loop& m_loop;
    const fs::path m_folder;
    sd_bus* m_bus = nullptr;
    Timer m_timer;
};

/// Until nobody uses the bus any more. `ready` is told when it can be used.
void watchUsers(const fs::path& folder, int ready) {
    Loop loop;
    Users users(loop, folder);
    users.connect();
    loop.endOnSignals();
    closeStreams();
    [[maybe_unused]] const ssize_t told = write(ready, "", 1);
    close(ready);
    users.look();
    loop.run();
}

/// What the keeper does.
int keep(const fs::path& folder, int ready) {
    int pipe[2];
    if (pipe2(pipe, O_CLOEXEC) != 0) return 1;
    const pid_t bus = startBus(folder, pipe[1]);
    close(pipe[1]);
    if (bus < 0) return 1;
    int result = 1;
    if (isReady(pipe[0])) {
        try {
            watchUsers(folder, ready);
            result = 0;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "ssod: %s\n", error.what());
        }
    }
    kill(bus, SIGTERM);
    waitpid(bus, nullptr, 0);
    return result;
}

}  // namespace

int keepBus(const fs::path& folder, const fs::path& ssod) {
    std::error_code error;
    fs::remove(folder / "bus", error);  // of a bus that was killed
    configure(folder, ssod);
    int pipe[2];
    if (pipe2(pipe, O_CLOEXEC) != 0) return 1;
    const pid_t keeper = fork();
    if (keeper < 0) return 1;
    if (keeper == 0) {
        setsid();  // what ends the program that needed it first does not end it
        close(pipe[0]);
        _exit(keep(folder, pipe[1]));
    }
    close(pipe[1]);
    return isReady(pipe[0]) ? 0 : 1;
}

}  // namespace service
