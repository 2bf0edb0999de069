// Programs with the account service behind end at any moment, and leave nothing.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "module_path.h"
#include "process_file.h"
#include "rounds.h"
#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// A program that would go on, as its input does, which the caller closes.
pid_t start(const fs::path& folder, int (&input)[2]) {
    if (pipe2(input, O_CLOEXEC) != 0) return -1;
    const pid_t child = fork();
    if (child == 0) {
        ::signal(SIGINT, SIG_DFL);  // which is ignored in the background of a shell's script
        setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
        setenv("XDG_DATA_HOME", folder.c_str(), 1);
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
        dup2(input[0], STDIN_FILENO);
        const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nothing, STDOUT_FILENO);
        dup2(nothing, STDERR_FILENO);
        const std::string program = support::builtPath("bin/sso-host");
        const std::string module = support::modulePath();
        execl(program.c_str(), program.c_str(), "--module", module.c_str(), "--grant", "partner",
              "--state", "test", nullptr);
        _exit(127);
    }
    close(input[0]);
    const std::string request =
        R"({"post": {"command": "sso_plugin_show_login_page", "data": "x"}})"
        "\n";
    [[maybe_unused]] const ssize_t sent = write(input[1], request.data(), request.size());
    return child;
}

/// The command lines of living processes that were told of the folder.
std::vector<std::string> processesOf(const fs::path& folder) {
    std::vector<std::string> found;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        if (name == std::to_string(getpid())) continue;
        const auto read = [&](const char* what) {
            return support::processFile(entry.path() / what);
        };
        if (read("environ").find(folder.string()) != std::string::npos) {
            found.push_back(name + " " + read("cmdline"));
        }
    }
    return found;
}

/// Waits until it is, for a minute at most: many tests may run at once.
bool isSoon(const std::function<bool()>& what) {
    const auto end = std::chrono::steady_clock::now() + 60s;
    while (!what()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(20ms);
    }
    return true;
}

TEST(ManyPrograms, LeaveNoProcessAndNoSocketHoweverTheyEnd) {
    const support::TemporaryFolder folder;
    const fs::path path = folder.path("desk");
    fs::create_directory(path);
    fs::permissions(path, fs::perms::owner_all);
    std::mt19937 random{20261122};
    const int signals[] = {SIGINT, SIGTERM, SIGKILL};
    for (int round = 0; round < support::rounds(12); ++round) {
        int input[2] = {-1, -1};
        const pid_t program = start(path, input);
        ASSERT_GT(program, 0);
        if (round == 0) {
            // One of them has something to leave.
            ASSERT_TRUE(isSoon([&] { return fs::exists(path / "sso-desk/states/test.db"); }));
        }
        std::this_thread::sleep_for(
            std::chrono::microseconds(std::uniform_int_distribution<int>(0, 100000)(random)));
        kill(program, signals[round % 3]);
        int status = 0;
        ASSERT_EQ(waitpid(program, &status, 0), program);
        EXPECT_TRUE(WIFSIGNALED(status)) << status;
        close(input[1]);
    }
    // The bus ends when nobody has used it for two seconds.
    isSoon([&] { return processesOf(path).empty(); });
    EXPECT_EQ(processesOf(path), std::vector<std::string>());
    // What is kept is there, and nothing of the bus.
    std::vector<std::string> left;
    for (const auto& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file() || entry.is_socket()) left.push_back(entry.path().filename());
    }
    for (const std::string& name : left) EXPECT_EQ(name.rfind("test.db", 0), 0U) << name;
    EXPECT_FALSE(left.empty());
}

}  // namespace
