#include "src/child_processes.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace browser {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{2};
constexpr std::chrono::milliseconds kInterval{5};

/// The first line of a file of /proc, with blanks for what ends the arguments in it; empty for a
/// process that is gone.
std::string readLine(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    std::replace(line.begin(), line.end(), '\0', ' ');
    return line;
}

/// Of a process: those that one of its threads made, and those that it has adopted.
std::vector<pid_t> childrenOf(const std::string& process) {
    std::vector<pid_t> found;
    std::error_code error;
    for (const auto& thread : fs::directory_iterator("/proc/" + process + "/task", error)) {
        std::ifstream children(thread.path() / "children");
        for (pid_t child = 0; children >> child;) found.push_back(child);
    }
    return found;
}

/// Whether a process waits for nothing but orders to make others. The engine has two of these; they
/// end after this process, so there is no point in waiting for them.
bool isIdleZygote(pid_t process) {
    const std::string name = std::to_string(process);
    return childrenOf(name).empty() &&
           readLine("/proc/" + name + "/cmdline").find(" --type=zygote ") != std::string::npos;
}

/// Collects children until all that are left have nothing to end, or until `deadline`.
///
/// @return the children that are left.
std::vector<pid_t> collectChildren(Clock::time_point deadline) {
    for (;;) {
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        const std::vector<pid_t> left = childrenOf("self");
        if (std::all_of(left.begin(), left.end(), isIdleZygote) || Clock::now() >= deadline) {
            return left;
        }
        std::this_thread::sleep_for(kInterval);
    }
}

}  // namespace

ChildProcesses::ChildProcesses() { prctl(PR_SET_CHILD_SUBREAPER, 1); }

ChildProcesses::~ChildProcesses() {
    std::vector<pid_t> left = collectChildren(Clock::now() + kPatience);
    // Once more for each generation that the death of the last one has handed over.
    while (!left.empty()) {
        for (const pid_t child : left) kill(child, SIGKILL);
        for (const pid_t child : left) waitpid(child, nullptr, 0);
        left = childrenOf("self");
    }
}

}  // namespace browser
