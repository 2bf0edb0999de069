#include "src/signal_pipe.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>

namespace browser {
namespace {

int writeEnd = -1;

void onSignal(int number) {
    const int error = errno;  // of whatever was interrupted
    const auto byte = static_cast<unsigned char>(number);
    // A pipe that is full already has enough to end the browser.
    [[maybe_unused]] const ssize_t written = write(writeEnd, &byte, 1);
    errno = error;
}

}  // namespace

int openSignalPipe() {
    std::array<int, 2> ends;
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::runtime_error("no pipe to be had");
    }
    writeEnd = ends[1];
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) sigaction(number, &action, nullptr);
    return ends[0];
}

}  // namespace browser
