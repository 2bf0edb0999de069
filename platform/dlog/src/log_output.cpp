#include "log_output.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

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

std::string lineOf(const DlogRecord& record) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    std::array<char, 160> head{};
    std::snprintf(head.data(), head.size(),
                  "%02d-%02d %02d:%02d:%02d.%03ld %c/%.64s(%5d:%5ld) [%s] ", local.tm_mon + 1,
                  local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, now.tv_nsec / 1000000,
                  priorityLetter(record.priority), record.tag, getpid(), syscall(SYS_gettid),
                  bufferName(record.buffer));
    return std::string(head.data()) + record.text + '\n';
}

/// Takes "\033[0;32m" and the like away.
void removeColours(std::string& line) {
    for (std::size_t at = 0; (at = line.find("\033[", at)) != std::string::npos;) {
        const std::size_t end = line.find_first_not_of("0123456789;", at + 2);
        if (end == std::string::npos || line[end] != 'm') {
            at += 2;  // something else
        } else {
            line.erase(at, end + 1 - at);
        }
    }
}

}  // namespace

void writeRecord(const DlogRecord& record) {
    static const int least = leastPriority();
    if (record.priority < least) {
        return;
    }
    static const int output = openOutput();
    static const bool hasColours = isatty(output) == 1;
    std::string line = lineOf(record);
    if (!hasColours) {
        removeColours(line);
    }
    // One write, so that lines of several threads and processes stay whole. A log that cannot be
    // written must not stop what it reports on.
    const ssize_t written = write(output, line.data(), line.size());
    static_cast<void>(written);
}

}  // namespace dlog
