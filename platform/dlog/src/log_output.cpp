#include "log_output.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "dlog.h"

namespace dlog {
namespace {

/// The least priority that passes, by the name that DLOG_LEVEL gives it.
int leastPriority() {
    constexpr int kAboveAll = 100;
    const char* level = std::getenv("DLOG_LEVEL");
    if (level == nullptr || std::strcmp(level, "detail") == 0) {
        return 0;
    }
    if (std::strcmp(level, "flow") == 0) {
        return DLOG_PRIORITY_WARNING;
    }
    if (std::strcmp(level, "silent") == 0) {
        return kAboveAll;
    }
    std::fprintf(stderr, "dlog: DLOG_LEVEL is \"%s\"; it must be detail, flow or silent\n", level);
    return 0;
}

int openOutput() {
    const char* path = std::getenv("DLOG_FILE");
    if (path == nullptr || *path == '\0') {
        return STDERR_FILENO;
    }
    const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (file < 0) {
        std::fprintf(stderr, "dlog: cannot write %s (%s); logging to standard error\n", path,
                     std::strerror(errno));
        return STDERR_FILENO;
    }
    return file;
}

/// The device's name of a buffer.
const char* bufferName(int buffer) {
    switch (buffer) {
        case DLOG_BUFFER_MAIN:
            return "main";
        case DLOG_BUFFER_SYSTEM:
            return "system";
        default:
            return "?";
    }
}

/// The letter of a priority: the device's list is unknown, default, verbose, and so on.
char priorityLetter(int priority) {
    constexpr char kLetters[] = "??VDIWEF";
    const bool known = priority >= 0 && priority < static_cast<int>(sizeof(kLetters)) - 1;
    return known ? kLetters[priority] : '?';
}

/// Local time, as the C library has it. In a child process of a browser the function of that name is the
/// browser's own: it asks the browser's process over a socket, each time.
tm localTime(std::time_t seconds) {
    static const auto ask =
        reinterpret_cast<decltype(&localtime_r)>(dlsym(RTLD_NEXT, "localtime_r"));
    tm local{};
    if (ask != nullptr) {
        ask(&seconds, &local);
    } else {
        gmtime_r(&seconds, &local);
    }
    return local;
}

/// The system's numbers of the calling thread and its process, asked for once.
struct Numbers {
    pid_t process;
    pid_t thread;
};

Numbers numbersOfThisThread() {
    static thread_local Numbers t_numbers{0, 0};
    // A fork has one thread, which runs this.
    static const int forkHandler = pthread_atfork(nullptr, nullptr, [] {
        t_numbers = Numbers{0, 0};
    });
    static_cast<void>(forkHandler);  // without memory for it, forks log their parent's numbers
    if (t_numbers.process == 0) {
        t_numbers = {getpid(), gettid()};
    }
    return t_numbers;
}

/// A line up to its text. @return its length.
std::size_t putHead(std::array<char, 160>& head, const DlogRecord& record) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const tm local = localTime(now.tv_sec);
    const Numbers numbers = numbersOfThisThread();
    const int size = std::snprintf(
        head.data(), head.size(), "%02d-%02d %02d:%02d:%02d.%03ld %c/%.64s(%5d:%5d) [%s] ",
        local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
        now.tv_nsec / 1000000, priorityLetter(record.priority), record.tag, numbers.process,
        numbers.thread, bufferName(record.buffer));
    return static_cast<std::size_t>(size);
}

iovec part(const char* text, std::size_t size) { return {const_cast<char*>(text), size}; }

}  // namespace

bool passes(int priority) {
    static const int least = leastPriority();
    return priority >= least;
}

void writeRecord(const DlogRecord& record) {
    if (!passes(record.priority)) {
        return;
    }
    static const int output = openOutput();
    std::array<char, 160> head;  // longer than any
    const std::array<iovec, 3> line{part(head.data(), putHead(head, record)),
                                    part(record.text, std::strlen(record.text)), part("\n", 1)};
    // One write, so that lines of several threads and processes stay whole. A log that cannot be
    // written must not stop what it reports on.
    const ssize_t written = writev(output, line.data(), static_cast<int>(line.size()));
    static_cast<void>(written);
}

}  // namespace dlog
