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
#include <string>

#include "embedder/input_error.h"

namespace browser {
namespace {

constexpr int kLongestLoad = 5000;  // milliseconds; load-time code of a module may hang
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

/// What the child says; nothing when it says nothing before it ends or the time is over.
std::string readReport(int fd) {
    std::array<char, 512> part;
    pollfd readable{fd, POLLIN, 0};
    int ready = 0;
    while ((ready = poll(&readable, 1, kLongestLoad)) < 0 && errno == EINTR) {
    }
    if (ready != 1) return {};
    const ssize_t got = read(fd, part.data(), part.size());
    return got <= 0 ? std::string() : std::string(part.data(), static_cast<std::size_t>(got));
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
    const std::string report = child < 0 ? "no process to try it in" : readReport(ends[0]);
    close(ends[0]);
    bool ended = false;
    if (child > 0) {
        // One that has said nothing has ended, or never will.
        ended = report.empty() && waitpid(child, nullptr, WNOHANG) == child;
        if (!ended) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
    }
    if (report == kGood) return;
    if (!report.empty()) fail(report);
    fail(ended ? "loading it ends the process" : "loading it does not end");
}

}  // namespace browser
