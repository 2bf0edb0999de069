#include "wrapper/events.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <nlohmann/json.hpp>

namespace browser {
namespace {

using nlohmann::json;

std::mutex mutex;
int events = -1;

void writeAll(const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = write(events, data, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

struct Deadly {
    int number;
    const char* line;
};

#define SSO_DEADLY(name, number) \
    { name, "[\"ending\",\"signal " number ", " #name "\"]\n" }
constexpr Deadly kDeadly[] = {
    SSO_DEADLY(SIGILL, "4"),   SSO_DEADLY(SIGTRAP, "5"), SSO_DEADLY(SIGABRT, "6"),
    SSO_DEADLY(SIGBUS, "7"),   SSO_DEADLY(SIGFPE, "8"),  SSO_DEADLY(SIGSEGV, "11"),
    SSO_DEADLY(SIGTERM, "15"), SSO_DEADLY(SIGSYS, "31"),
};
#undef SSO_DEADLY

/// Tells, without the lock, which whoever was interrupted may hold, and lets the signal do its work.
void onDeadly(int number) {
    for (const Deadly& deadly : kDeadly) {
        if (deadly.number == number) writeAll(deadly.line, std::strlen(deadly.line));
    }
    raise(number);  // blocked until this returns, and then not handled any more
}

void onExit(int code, void*) { sendEvent(json{kEventEnding, "exit code " + std::to_string(code)}); }

}  // namespace

void openEvents(const std::string& path) {
    events = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (events < 0) return;
    for (const Deadly& deadly : kDeadly) {
        struct sigaction before = {};
        sigaction(deadly.number, nullptr, &before);
        if (before.sa_handler != SIG_DFL) continue;
        struct sigaction action = {};
        action.sa_handler = onDeadly;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(deadly.number, &action, nullptr);
    }
    on_exit(onExit, nullptr);
}

void sendEvent(const json& event) {
    const std::string line = event.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
    const std::lock_guard lock(mutex);
    if (events >= 0) writeAll(line.data(), line.size());
}

}  // namespace browser
