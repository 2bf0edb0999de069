#include "base/swept_folder.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <system_error>

namespace base {
namespace {

/// Waits until nobody holds the other end of a socket, or sends anything there.
void waitForEnd(int socket) {
    char nothing = 0;
    while (read(socket, &nothing, 1) < 0 && errno == EINTR) {
    }
}

/// Removes the folder when the program has ended. Holds no file of the program's but the socket.
[[noreturn]] void sweep(int socket, const std::filesystem::path& folder) {
    setsid();  // Ctrl-C in the program's terminal is not for this process
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) signal(number, SIG_IGN);
    const int kept = dup2(socket, 0);
    const long highest = sysconf(_SC_OPEN_MAX);
    for (int file = 1; file < highest && file < 4096; ++file) close(file);
    waitForEnd(kept);
    std::error_code ignored;
    // Twice, as somebody may have been about to make a file there.
    for (int i = 0; i < 2; ++i) {
        std::filesystem::remove_all(folder, ignored);
        if (i == 0 && std::filesystem::exists(folder, ignored)) usleep(100000);
    }
    _exit(0);
}

}  // namespace

SweptFolder::SweptFolder(const std::string& name) {
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    std::string path = ((error ? "/tmp" : parent) / (name + "-XXXXXX")).string();
    std::array<int, 2> ends;
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error("no socket to be had");
    }
    if (mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error("cannot make a temporary folder in " + parent.string() + ": " +
                                 std::strerror(errno));
    }
    m_path = path;
    m_sweeper = ends[0];
    // A grandchild, so that it is nobody's child here: children are waited for at the end.
    const pid_t child = fork();
    if (child == 0) {
        if (fork() == 0) sweep(ends[1], m_path);
        _exit(0);
    }
    close(ends[1]);
    if (child > 0) waitpid(child, nullptr, 0);
}

SweptFolder::~SweptFolder() {
    remove();
    shutdown(m_sweeper, SHUT_WR);
    waitForEnd(m_sweeper);  // nothing of this program outlives it
    close(m_sweeper);
}

void SweptFolder::remove() const {
    std::error_code ignored;  // there is no one left to tell
    std::filesystem::remove_all(m_path, ignored);
}

}  // namespace base
