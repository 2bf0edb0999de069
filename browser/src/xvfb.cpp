#include "src/xvfb.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/random.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

namespace browser {
namespace {

constexpr int kMostStarts = 5;        // of displays that cannot be used
constexpr int kLongestStart = 20000;  // milliseconds
constexpr std::chrono::seconds kLongestEnd{5};
constexpr std::chrono::milliseconds kInterval{10};
constexpr int kNotFound = 127;  // as a shell reports it
constexpr const char* kKeyType = "MIT-MAGIC-COOKIE-1";

/// Runs in the child. Xvfb writes the number of the display it has chosen to `report`.
[[noreturn]] void becomeXvfb(pid_t parent, int report, const std::string& screen,
                             const std::string& authority) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(1);  // it ended before the line above
    // Out of the terminal's reach: Ctrl-C must end the browser before its display goes.
    setsid();
    const int null = open("/dev/null", O_RDWR);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null, fd);
    const int kept = dup(report);  // without close-on-exec
    const std::string fd = std::to_string(kept);
    execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen.c_str(), "-nolisten",
           "tcp", "-noreset", "-auth", authority.c_str(), static_cast<char*>(nullptr));
    _exit(kNotFound);
}

void appendField(std::string& out, const std::string& field) {
    out += static_cast<char>(field.size() >> 8);
    out += static_cast<char>(field.size() & 0xff);
    out += field;
}

/// Makes a key for any display, and writes it in the form that the X library reads.
std::string makeKey(const std::string& path) {
    std::string key(16, '\0');
    if (getrandom(key.data(), key.size(), 0) != static_cast<ssize_t>(key.size())) {
        throw std::runtime_error("no random numbers to be had");
    }
    std::string entry = "\xff\xff";  // any address
    for (const std::string& field : {std::string(), std::string(), std::string(kKeyType), key}) {
        appendField(entry, field);
    }
    std::ofstream file(path, std::ios::binary);
    if (!(file << entry << std::flush)) throw std::runtime_error(path + " cannot be written");
    return key;
}

/// The number, which a line end follows. Empty when the other end is closed first; nothing when that
/// is too slow.
std::optional<std::string> readNumber(int fd) {
    std::string number;
    pollfd readable{fd, POLLIN, 0};
    for (;;) {
        const int ready = poll(&readable, 1, kLongestStart);
        if (ready < 0 && errno == EINTR) continue;  // a signal to end is heeded by the event loop
        char digit = 0;
        if (ready != 1) return std::nullopt;
        if (read(fd, &digit, 1) != 1) return std::string();
        if (digit == '\n') return number;
        number += digit;
    }
}

/// Whether a program can use it: on a busy machine one has refused the first connection after it had told its number.
bool acceptsConnections(const std::string& display, const std::string& key) {
    std::string name = kKeyType;
    std::string data = key;
    xcb_auth_info_t auth{static_cast<int>(name.size()), name.data(), static_cast<int>(data.size()),
                         data.data()};
    const std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> connection(
        xcb_connect_to_display_with_auth_info(display.c_str(), &auth, nullptr), xcb_disconnect);
    return xcb_connection_has_error(connection.get()) == 0;
}

}  // namespace

Xvfb::Xvfb(int width, int height, const std::filesystem::path& folder)
    : m_authority((folder / "xauthority").string()) {
    const std::string key = makeKey(m_authority);
    const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
    for (int left = kMostStarts; left > 0; --left) {
        m_display = ":" + start(screen);
        if (acceptsConnections(m_display, key)) return;
        end();
    }
    throw std::runtime_error("Xvfb, the virtual display, accepts no connection");
}

std::string Xvfb::start(const std::string& screen) {
    std::array<int, 2> ends;
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe to be had");
    const pid_t parent = getpid();
    m_pid = fork();
    if (m_pid == 0) becomeXvfb(parent, ends[1], screen, m_authority);
    close(ends[1]);
    const auto number = m_pid < 0 ? std::nullopt : readNumber(ends[0]);
    close(ends[0]);
    if (number && !number->empty()) return *number;
    // It closes its end when it ends, maybe a moment before that.
    int status = 0;
    const bool ended = number && waitpid(m_pid, &status, 0) == m_pid;
    if (!ended) end();
    if (ended && WIFEXITED(status) && WEXITSTATUS(status) == kNotFound) {
        throw std::runtime_error(
            "there is no display (DISPLAY and WAYLAND_DISPLAY are not set), and no "
            "Xvfb to make a virtual one: install xvfb");
    }
    throw std::runtime_error("Xvfb, the virtual display, does not start");
}

Xvfb::~Xvfb() { end(); }

void Xvfb::end() {
    if (m_pid <= 0) return;
    // Over and over, and then by force: nothing that a display misses may keep this program.
    const auto patience = std::chrono::steady_clock::now() + kLongestEnd;
    do {
        kill(m_pid, std::chrono::steady_clock::now() < patience ? SIGTERM : SIGKILL);
        std::this_thread::sleep_for(kInterval);
    } while (waitpid(m_pid, nullptr, WNOHANG) == 0);
}

}  // namespace browser
