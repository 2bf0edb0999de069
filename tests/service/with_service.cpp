// with-service COMMAND...: runs a command with an account service of its own behind the client library, in a folder of
// its own, and gives its exit code.

#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>

#include "service/bus_address.h"
#include "temporary_folder.h"

namespace {

int run(char** command) {
    const support::TemporaryFolder folder;
    setenv("XDG_RUNTIME_DIR", folder.path("").c_str(), 1);
    setenv("XDG_DATA_HOME", folder.path("").c_str(), 1);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    const auto bus = service::BusHold::get(SSO_TEST_SSOD);
    setenv("SSO_BUS_ADDRESS", bus.address().c_str(), 1);
    setenv("SSO_STATE", "test", 1);
    const pid_t child = fork();
    if (child == 0) {
        execvp(command[0], command);
        std::perror(command[0]);
        _exit(127);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child) return 1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: with-service COMMAND...\n");
        return 2;
    }
    try {
        return run(argv + 1);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "with-service: %s\n", error.what());
        return 1;
    }
}
