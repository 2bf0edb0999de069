#include "src/child_processes.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>

namespace browser {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{2};
constexpr std::chrono::milliseconds kInterval{5};

/// Collects children until `deadline`. True when there are none left.
bool collectChildren(Clock::time_point deadline) {
    for (;;) {
        const pid_t ended = waitpid(-1, nullptr, WNOHANG);
        if (ended < 0) return true;
        if (ended > 0) continue;
        if (Clock::now() >= deadline) return false;
        std::this_thread::sleep_for(kInterval);
    }
}

/// Children belong to the thread that made them, or to any when they were adopted.
void killChildren() {
    std::error_code error;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", error)) {
        std::ifstream children(thread.path() / "children");
        for (pid_t child = 0; children >> child;) kill(child, SIGKILL);
    }
}

}  // namespace

ChildProcesses::ChildProcesses() { prctl(PR_SET_CHILD_SUBREAPER, 1); }

ChildProcesses::~ChildProcesses() {
    if (collectChildren(Clock::now() + kPatience)) return;
    // Once more for each generation that the death of the last one has handed over.
    do {
        killChildren();
    } while (!collectChildren(Clock::now() + kInterval));
}

}  // namespace browser
