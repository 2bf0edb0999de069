#include "src/module_check.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string>

#include "embedder/input_error.h"

namespace browser {
namespace {

constexpr unsigned kLongestLoad = 10;  // seconds; load-time code of a module may hang

/// Runs in the child: writes what is wrong, nothing when all is well.
[[noreturn]] void loadAndReport(const std::filesystem::path& path, int report) {
    alarm(kLongestLoad);
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    const char* problem = nullptr;
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        problem = dlerror();
    } else if (dlsym(library, "PPP_InitializeModule") == nullptr ||
               dlsym(library, "PPP_GetInterface") == nullptr) {
        problem = "it lacks an entry point of a browser module";
    }
    if (problem != nullptr && write(report, problem, std::strlen(problem)) < 0) _exit(1);
    _exit(0);
}

std::string readAll(int fd) {
    std::string text;
    std::array<char, 512> part;
    for (ssize_t got = 0; (got = read(fd, part.data(), part.size())) > 0;) {
        text.append(part.data(), static_cast<std::size_t>(got));
    }
    return text;
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
    const std::string problem = child < 0 ? "no process to try it in" : readAll(ends[0]);
    close(ends[0]);
    int status = 0;
    if (child > 0) waitpid(child, &status, 0);
    if (!problem.empty()) fail(problem);
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) fail("loading it does not end");
    if (status != 0) fail("loading it ends the process");
}

}  // namespace browser
