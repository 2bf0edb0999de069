#include "in_a_child.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "temporary_folder.h"

namespace faults {
namespace {

constexpr unsigned kSeconds = 60;

/// In one write, so that what other threads say meanwhile stays whole, before it and after it.
[[noreturn]] void tellAndAbort() {
    std::array<char, 200> line{};
    try {
        const std::exception_ptr thrown = std::current_exception();
        if (thrown) std::rethrow_exception(thrown);
        std::snprintf(line.data(), line.size(), "%swithout an exception\n", kEndedBy);
    } catch (const std::exception& error) {
        std::snprintf(line.data(), line.size(), "%s%s\n", kEndedBy, error.what());
    }
    std::fputs(line.data(), stderr);
    std::abort();
}

[[noreturn]] void actAndEnd(const std::function<int()>& act) noexcept {
    std::set_terminate(tellAndAbort);
    alarm(kSeconds);
    _exit(act());
}

}  // namespace

Outcome inAChild(const std::function<int()>& act) {
    const support::TemporaryFolder folder;
    const std::string file = folder.path("said");
    const pid_t child = fork();
    if (child == 0) {
        dup2(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), STDERR_FILENO);
        actAndEnd(act);
    }
    Outcome outcome;
    if (child < 0 || waitpid(child, &outcome.status, 0) != child) {
        throw std::runtime_error("no child to be had");
    }
    outcome.said = folder.read("said");
    return outcome;
}

}  // namespace faults
