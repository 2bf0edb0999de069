#include "log_file.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/above_standard_streams.h"

namespace dlog {
namespace {

/// @return whether `to`, which is PATH_MAX in size, has it.
bool putAbsolute(const char* path, char* to) {
    std::size_t size = 0;
    if (*path != '/') {
        if (getcwd(to, PATH_MAX) == nullptr) {
            return false;
        }
        size = std::strlen(to);
        to[size++] = '/';
    }
    const std::size_t length = std::strlen(path);
    if (size + length >= PATH_MAX) {
        errno = ENAMETOOLONG;
        return false;
    }
    std::memcpy(to + size, path, length + 1);
    return true;
}

bool isPipe(int file) {
    struct stat status {};
    return fstat(file, &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

/// Keeps the signal of a pipe that nobody reads from this thread, and takes the one that came meanwhile.
class NoPipeSignal {
  public:
    NoPipeSignal() {
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_former);
    }
    ~NoPipeSignal() {
        if (m_came && !m_wasPending) {
            const timespec noTime{};
            sigtimedwait(&m_pipe, nullptr, &noTime);
        }
        pthread_sigmask(SIG_SETMASK, &m_former, nullptr);
    }
    NoPipeSignal(const NoPipeSignal&) = delete;
    NoPipeSignal& operator=(const NoPipeSignal&) = delete;

    void cameWith(ssize_t written) { m_came = written < 0 && errno == EPIPE; }

  private:
    sigset_t m_pipe;
    sigset_t m_former;
    bool m_wasPending;
    bool m_came = false;
};

}  // namespace

LogFile::LogFile()
    : m_file(open()),
      m_isTerminal(isatty(m_file) == 1),
      m_isPipe(m_path[0] != '\0' && isPipe(m_file)) {}

int LogFile::open() {
    const char* path = std::getenv("DLOG_FILE");
    if (path == nullptr || *path == '\0') {
        return STDERR_FILENO;
    }
    const int file = putAbsolute(path, m_path.data()) ? openNamed() : -1;
    if (file >= 0) {
        return file;
    }
    const char* const why = errno == ENXIO ? "nobody reads it" : std::strerror(errno);
    std::fprintf(stderr, "dlog: cannot write %s (%s); logging to standard error\n", path, why);
    m_path[0] = '\0';
    return STDERR_FILENO;
}

int LogFile::openNamed() const {
    // Not blocking, lest a pipe that nobody reads holds up what is logged.
    constexpr int kFlags = O_WRONLY | O_CREAT | O_APPEND | O_NOCTTY | O_NONBLOCK | O_CLOEXEC;
    return base::aboveStandardStreams(::open(m_path.data(), kFlags, 0600));
}

void LogFile::follow(std::time_t now) {
    if (m_path[0] == '\0' || m_lookedAt.exchange(now, std::memory_order_relaxed) == now) {
        return;
    }
    struct stat named {};
    struct stat opened {};
    if (fstat(m_file, &opened) != 0 ||
        (stat(m_path.data(), &named) == 0 && named.st_dev == opened.st_dev &&
         named.st_ino == opened.st_ino)) {
        return;
    }
    const int file = openNamed();
    if (file >= 0) {
        // In the former one's place: other threads are writing.
        dup3(file, m_file, O_CLOEXEC);
        close(file);
    }
}

void LogFile::write(const char* line, std::size_t size, std::time_t now) {
    follow(now);
    if (!m_isPipe) {
        const ssize_t written = ::write(m_file, line, size);
        static_cast<void>(written);
        return;
    }
    NoPipeSignal noSignal;
    noSignal.cameWith(::write(m_file, line, size));
}

}  // namespace dlog
