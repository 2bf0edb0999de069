#include "in_a_child.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "temporary_folder.h"

namespace faults {
namespace {

constexpr unsigned kSeconds = 60;

[[noreturn]] void actAndEnd(const std::function<int()>& act) {
    alarm(kSeconds);
    try {
        _exit(act());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "let out: %s\n", error.what());
        std::abort();
    }
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
