// What is left of a browser that was ended, and what others can get at while it runs.

#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "browser_test.h"
#include "module_path.h"
#include "process_figures.h"
#include "process_file.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class ABrowserOfItsOwn : public browser::BrowserTest {
  protected:
    /// What lies in a folder. Names only.
    static std::vector<std::string> namesIn(const fs::path& folder) {
        std::vector<std::string> names;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(folder, error)) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    /// Processes whose environment has a text: all that a browser starts inherit it.
    static std::vector<std::string> processesWith(const std::string& text) {
        std::vector<std::string> found;
        for (const std::string& name : namesIn("/proc")) {
            if (name.find_first_not_of("0123456789") != std::string::npos) continue;
            const std::string folder = "/proc/" + name;
            if (support::processFile(folder + "/environ").find(text) == std::string::npos) continue;
            const std::string words = support::processFile(folder + "/cmdline");
            const std::string line = words.substr(0, words.find('\0'));
            if (!line.empty()) found.push_back(name + " " + line);
        }
        return found;
    }

    /// Whether a local X server takes connections; what it answers is left to `socket`.
    static bool connects(int socket, const std::string& display) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = "/tmp/.X11-unix/" + display;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        return connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }

    /// Sockets of X servers that are gone.
    static std::vector<std::string> deadDisplays() {
        std::vector<std::string> dead;
        for (const std::string& name : namesIn("/tmp/.X11-unix")) {
            const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
            if (!connects(client, name) && errno == ECONNREFUSED) dead.push_back(name);
            close(client);
        }
        return dead;
    }

    static std::string commandOf(pid_t process) {
        return support::processFile(fs::path("/proc") / std::to_string(process) / "cmdline");
    }

    /// "X5": the display of an Xvfb below a process, empty for none.
    static std::string displayBelow(pid_t browser) {
        std::set<std::string> inodes;
        for (const pid_t process : browser::descendantsOf(browser)) {
            const fs::path files = "/proc/" + std::to_string(process) + "/fd";
            for (const std::string& file : namesIn(files)) {
                std::error_code error;
                inodes.insert(fs::read_symlink(files / file, error));
            }
        }
        std::ifstream sockets("/proc/net/unix");
        for (std::string line; std::getline(sockets, line);) {
            std::istringstream words(line);
            std::vector<std::string> word(std::istream_iterator<std::string>(words), {});
            constexpr char kFolder[] = "/tmp/.X11-unix/";
            // Listening, under a name, and one of theirs: Num RefCount Protocol Flags Type St Inode Path.
            if (word.size() == 8 && word[5] == "01" && word[7].rfind(kFolder, 0) == 0 &&
                inodes.count("socket:[" + word[6] + "]") > 0) {
                return word[7].substr(sizeof kFolder - 1);
            }
        }
        return {};
    }
};

// SSO_TEST_ENDS says how often; each takes as long as a start.
TEST_F(ABrowserOfItsOwn, LeavesNothingBehindHoweverItEnds) {
    const char* wanted = std::getenv("SSO_TEST_ENDS");
    const int ends = wanted == nullptr ? 12 : std::atoi(wanted);
    const std::string temporary = m_folder.path("tmp");
    fs::create_directory(temporary);
    const std::vector<std::string> before = deadDisplays();
    const std::string nobody = m_folder.write("nobody.json", "{}");
    std::mt19937 random(20210407);
    std::uniform_int_distribution<int> moment(0, 1200);
    for (int i = 0; i < ends; ++i) {
        const int signals[] = {SIGINT, SIGTERM, SIGKILL};
        const int signal = signals[i % 3];
        const auto delay = std::chrono::milliseconds(moment(random));
        const pid_t browser = fork();
        if (browser == 0) {
            ::signal(SIGINT, SIG_DFL);  // which is ignored in the background of a shell's script
            setenv("DISPLAY", "", 1);
            setenv("WAYLAND_DISPLAY", "", 1);
            setenv("TMPDIR", temporary.c_str(), 1);
            const std::string program = support::builtPath("bin/sso-browser");
            execl(program.c_str(), "sso-browser", "--module", support::modulePath().c_str(),
                  "--account", nobody.c_str(), SSO_TEST_PAGE, static_cast<char*>(nullptr));
            _exit(127);
        }
        std::this_thread::sleep_for(delay);
        kill(browser, signal);
        int status = 0;
        ASSERT_EQ(waitpid(browser, &status, 0), browser);
        const int end = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        ASSERT_EQ(end, 128 + signal) << "after " << delay.count() << " ms";
    }
    // Those that were killed are tidied up by others, soon.
    for (int i = 0; i < 200; ++i) {
        if (namesIn(temporary).empty() && processesWith("TMPDIR=" + temporary).empty() &&
            deadDisplays() == before) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    EXPECT_THAT(namesIn(temporary), IsEmpty());
    EXPECT_THAT(processesWith("TMPDIR=" + temporary), IsEmpty());
    EXPECT_THAT(deadDisplays(), ::testing::IsSubsetOf(before));
}

TEST_F(ABrowserOfItsOwn, HasADisplayThatNobodyElseCanUse) {
    std::string answer;
    support::ProcessOptions options;
    options.onOutput = [&](pid_t browser, const std::string&) {
        const std::string display = displayBelow(browser);
        const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        ASSERT_TRUE(connects(client, display)) << display;
        // How a program greets an X server: little-endian, version 11.0, without a key.
        const std::string greeting("l\0\x0b\0\0\0\0\0\0\0\0\0", 12);
        ASSERT_EQ(write(client, greeting.data(), greeting.size()), 12);
        char first = 0;
        ASSERT_EQ(read(client, &first, 1), 1);
        answer = first == 1 ? "welcome" : "refused";
        close(client);
    };
    const auto result = runBrowser(
        {SSO_TEST_PAGE, "--run-script", m_folder.write("a.js", "console.log(1); return 1;")},
        options);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(answer, "refused");
}

TEST_F(ABrowserOfItsOwn, SaysWhenThereIsNoDisplayToBeHad) {
    support::ProcessOptions options;
    options.environment = {"PATH=" + m_folder.path("")};
    for (int i = 0; i < 10; ++i) {
        const auto result = runBrowser({SSO_TEST_PAGE}, options);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.errorLines(),
                    ElementsAre("sso-browser: there is no display (DISPLAY and WAYLAND_DISPLAY are "
                                "not set), and no Xvfb to make a virtual one: install xvfb"));
    }
}

class ABrowserWithAStrangeDisplay : public ABrowserOfItsOwn {
  protected:
    /// @param script  what Xvfb does.
    support::ProcessResult run(const std::string& script, support::ProcessOptions options = {}) {
        m_folder.write("Xvfb", "#!/bin/sh\n" + script);
        fs::permissions(m_folder.path("Xvfb"), fs::perms::owner_all);
        options.environment = {"PATH=" + m_folder.path("") + ":" + std::getenv("PATH")};
        return runBrowser(
            {SSO_TEST_PAGE, "--run-script", m_folder.write("a.js", "console.log(1); return 1;")},
            options);
    }

    /// A script for displays that nobody can connect to, and for a good one after so many.
    std::string badOnes(int count) const {
        const std::string starts = m_folder.path("starts");
        return "echo $3 >>" + starts + "\n[ $(wc -l <" + starts + ") -le " + std::to_string(count) +
               " ] || exec /usr/bin/Xvfb \"$@\"\n" + "echo 32000 >/proc/$$/fd/$2\nexec sleep 60\n";
    }

    std::string starts() const { return support::processFile(m_folder.path("starts")); }
};

/// Without -noreset the server starts anew when the trial connection, its first client, leaves.
TEST_F(ABrowserWithAStrangeDisplay, HasItWithoutResetsAndNetworkForItselfAlone) {
    const std::string file = m_folder.path("arguments");
    const auto result = run("echo \"$@\" >" + file + "\nexec /usr/bin/Xvfb \"$@\"\n");
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(support::processFile(file),
                MatchesRegex("-displayfd [0-9]+ -screen 0 1280x800x24 -nolisten tcp -noreset "
                             "-auth /.*/xauthority\n"));
}

TEST_F(ABrowserWithAStrangeDisplay, StartsAnother) {
    const auto result = run(badOnes(4));
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(starts(), "-screen\n-screen\n-screen\n-screen\n-screen\n");
}

TEST_F(ABrowserWithAStrangeDisplay, SaysSoWhenThereIsNoOther) {
    const auto result = run(badOnes(1000));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errorLines(),
                ElementsAre("sso-browser: Xvfb, the virtual display, accepts no connection"));
    EXPECT_EQ(starts(), "-screen\n-screen\n-screen\n-screen\n-screen\n");
}

/// One that misses a signal, and one that heeds none.
TEST_F(ABrowserWithAStrangeDisplay, EndsItHoweverDeafItIs) {
    for (const char* heeds : {"trap 'trap \"kill \\$server\" TERM' TERM\n", "trap '' TERM\n"}) {
        SCOPED_TRACE(heeds);
        std::map<pid_t, std::string> servers;  // with their command lines: numbers begin anew
        support::ProcessOptions options;
        options.onOutput = [&](pid_t browser, const std::string&) {
            for (const pid_t process : browser::descendantsOf(browser)) {
                const std::string command = commandOf(process);
                if (command.find("-displayfd") != std::string::npos) servers[process] = command;
            }
        };
        const auto result =
            run(heeds + std::string("/usr/bin/Xvfb \"$@\" & server=$!\n"
                                    "while kill -0 $server 2>&-; do wait $server; done\n"),
                options);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        EXPECT_THAT(servers, ::testing::SizeIs(2));  // and its shell
        for (const auto& [process, command] : servers) EXPECT_NE(commandOf(process), command);
    }
}

TEST_F(ABrowserOfItsOwn, RunsBelowAnyFolder) {
    const fs::path tree = m_folder.path("b\xc3\xa4um, x;");
    fs::create_directories(tree / "bin");
    fs::create_directories(tree / "lib");
    for (const char* name : {"sso-browser", "ssod"}) {
        fs::copy(support::builtPath(std::string("bin/") + name), tree / "bin");
    }
    for (const char* name : {"libsso_browser_wrapper.so", "libsso.so", "libsso_api.so",
                             "libdlog.so", "libvconf.so", "libht.so"}) {
        for (const std::string& file : namesIn(support::builtPath("lib"))) {
            if (file.rfind(name, 0) != 0) continue;
            fs::copy(support::builtPath("lib/" + file), tree / "lib");
        }
    }
    const std::string script = m_folder.write(
        "a.js", "return new Embedding().call({ command: 'sso_plugin_getVersion' }).value;");
    support::ProcessOptions options;
    options.environment = desk();
    options.environment.insert(options.environment.end(), {"DISPLAY=", "WAYLAND_DISPLAY="});
    const auto result = support::runProcess(
        {tree / "bin/sso-browser", SSO_TEST_PAGE, "--grant", "partner", "--run-script", script},
        options);
    EXPECT_EQ(result.output, "result: \"1.1\"\n") << result.errors;
}

TEST_F(ABrowserOfItsOwn, GetsByWithLittleSharedMemory) {
    const std::string script = m_folder.write("a.js", "return document.title;");
    const std::string inside =
        "mount -t tmpfs -o size=4m tmpfs /dev/shm || { echo no mount; exit 77; }; exec \"$@\"";
    support::ProcessOptions options;
    options.environment = {"DISPLAY=", "WAYLAND_DISPLAY="};
    const auto result = support::runProcess(
        {"/usr/bin/unshare", "--mount", "/bin/sh", "-c", inside, "sh",
         support::builtPath("bin/sso-browser"), "--module", support::modulePath(), "--account",
         m_folder.write("nobody.json", "{}"), SSO_TEST_PAGE, "--run-script", script},
        options);
    if (result.exitCode == 77 || result.errors.find("unshare") != std::string::npos) {
        GTEST_SKIP() << "this system lets nobody make a small /dev/shm: " << result.errors;
    }
    EXPECT_EQ(result.output, "result: \"Browser tests\"\n") << result.errors;
}

/// The path of a module that was made of a few lines.
class AnOddModule : public ABrowserOfItsOwn {
  protected:
    void expectRefusal(const std::string& module, const std::string& why) {
        const auto result = support::runProcess(
            {support::builtPath("bin/sso-browser"), SSO_TEST_PAGE, "--module", module});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.errorLines(), ElementsAre("sso-browser: the plug-in " + module +
                                                     " cannot be loaded: " + why));
    }
};

TEST_F(AnOddModule, IsToldForWhatItDoes) {
    expectRefusal(support::builtPath("lib/exiting_module.so"), "loading it ends the process");
    expectRefusal(support::builtPath("lib/hanging_module.so"), "loading it does not end");
    const std::string pipe = m_folder.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    expectRefusal(pipe, "it is not a file");
}

}  // namespace
