#include "src/module_check.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

#include "embedder/input_error.h"

namespace browser {
namespace {

constexpr int kLongestLoad = 5000;  // milliseconds; load-time code of a module may hang
constexpr int kLongestEnd = 1000;   // milliseconds
constexpr char kGood[] = "good";

/// Runs in the child: writes what is wrong, or kGood. Code of the module may end it before.
[[noreturn]] void loadAndReport(const std::filesystem::path& path, int report) {
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    const char* problem = kGood;
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        problem = dlerror();
    } else if (dlsym(library, "PPP_InitializeModule") == nullptr ||
               dlsym(library, "PPP_GetInterface") == nullptr) {
        problem = "it lacks an entry point of a browser module";
    }
    _exit(write(report, problem, std::strlen(problem)) < 0 ? 1 : 0);
}

/// What the child says; empty when it closes its end, nothing when the time is over.
std::optional<std::string> readReport(int fd) {
    std::array<char, 512> part;
    pollfd readable{fd, POLLIN, 0};
    int ready = 0;
    while ((ready = poll(&readable, 1, kLongestLoad)) < 0 && errno == EINTR) {
    }
    if (ready != 1) return std::nullopt;
    const ssize_t got = read(fd, part.data(), part.size());
    return got <= 0 ? std::string() : std::string(part.data(), static_cast<std::size_t>(got));
}

/// Ends the child. @return whether it had ended by itself, which may take it a moment.
bool collect(pid_t child, bool isEnding) {
    for (int i = 0; isEnding && i < kLongestEnd; ++i) {
        if (waitpid(child, nullptr, WNOHANG) == child) return true;
        usleep(1000);
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return false;
}

}  // namespace

void checkModule(const std::filesystem::path& path) {
    const auto fail = [&](const std::string& why) {
        throw embedder::InputError("the plug-in " + path.string() + " cannot be loaded: " + why);
    };
    std::error_code error;
    if (!std::filesystem::exists(path, error)) fail("no such file");
    if (!std::filesystem::is_regular_file(path, error)) fail("it is not a file");

    std::array<int, 2> ends;
    if (pipe2(ends.data(), O_CLOEXEC) != 0) fail(std::strerror(errno));
    // An absolute path: a bare name would be searched for in the system's library folders.
    const std::filesystem::path absolute = std::filesystem::absolute(path);
    const pid_t child = fork();
    if (child == 0) loadAndReport(absolute, ends[1]);
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        fail("no process to try it in");
    }
    const std::optional<std::string> report = readReport(ends[0]);
    close(ends[0]);
    const bool isSilent = !report || report->empty();
    const bool ended = collect(child, report && isSilent);
    if (isSilent) fail(ended ? "loading it ends the process" : "loading it does not end");
    if (*report != kGood) fail(*report);
}

}  // namespace browser
