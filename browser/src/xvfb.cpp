#include "src/xvfb.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>

namespace browser {
namespace {

constexpr int kLongestStart = 20000;  // milliseconds
constexpr int kNotFound = 127;        // as a shell reports it

/// Runs in the child. Xvfb writes the number of the display it has chosen to `report`.
[[noreturn]] void becomeXvfb(pid_t parent, int report, const std::string& screen) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(1);  // it ended before the line above
    // Out of the terminal's reach: Ctrl-C must end the browser before its display goes.
    setsid();
    const int null = open("/dev/null", O_RDWR);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null, fd);
    const int kept = dup(report);  // without close-on-exec
    const std::string fd = std::to_string(kept);
    execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen.c_str(), "-nolisten",
           "tcp", static_cast<char*>(nullptr));
    _exit(kNotFound);
}

/// The number, which a line end follows. Empty when the other end is closed first, or too slow.
std::string readNumber(int fd) {
    std::string number;
    pollfd readable{fd, POLLIN, 0};
    for (;;) {
        const int ready = poll(&readable, 1, kLongestStart);
        if (ready < 0 && errno == EINTR) continue;  // a signal to end is heeded by the event loop
        char digit = 0;
        if (ready != 1 || read(fd, &digit, 1) != 1) return {};
        if (digit == '\n') return number;
        number += digit;
    }
}

}  // namespace

Xvfb::Xvfb(int width, int height) {
    const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
    std::array<int, 2> ends;
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe to be had");
    const pid_t parent = getpid();
    m_pid = fork();
    if (m_pid == 0) becomeXvfb(parent, ends[1], screen);
    close(ends[1]);
    const std::string number = m_pid < 0 ? std::string() : readNumber(ends[0]);
    close(ends[0]);
    if (!number.empty()) {
        m_display = ":" + number;
        return;
    }
    int status = 0;
    const bool ended = m_pid > 0 && waitpid(m_pid, &status, WNOHANG) == m_pid;
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
    kill(m_pid, SIGTERM);
    waitpid(m_pid, nullptr, 0);
}

}  // namespace browser
