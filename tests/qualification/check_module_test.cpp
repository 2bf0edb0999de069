// sso-check-module against modules with something wrong: the first line that it prints, which says
// what, and its exit code.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "module_path.h"
#include "process.h"
#include "process_file.h"
#include "temporary_folder.h"
#include "thread_signal.h"

namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using Words = std::vector<std::string>;

const std::string kOrigin = SSO_PRIVILEGE_ORIGIN;

std::string bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void runTool(const Words& command) {
    ASSERT_EQ(support::runProcess(command).exitCode, 0) << command.front();
}

class TheCheck : public ::testing::Test {
  protected:
    /// @param words  the module, and options.
    support::ProcessResult check(const Words& words, const Words& environment = {}) const {
        return checkWith(support::builtPath("bin/sso-check-module"), words, environment);
    }

    static support::ProcessResult checkWith(const std::string& program, const Words& words,
                                            const Words& environment = {}) {
        Words command = {program};
        command.insert(command.end(), words.begin(), words.end());
        support::ProcessOptions options;
        options.environment = environment;
        options.timeout = std::chrono::seconds(110);
        return support::runProcess(command, options);
    }

    /// That it ends with the code and, first, says this of the module.
    static void expectEnd(const support::ProcessResult& result, int exitCode,
                          const std::string& module, const std::string& conclusion) {
        EXPECT_EQ(result.exitCode, exitCode) << result.output << result.errors;
        ASSERT_FALSE(result.outputLines().empty()) << result.errors;
        EXPECT_EQ(result.outputLines().front(), module + ": " + conclusion);
    }

    /// A refused module gets one line, and no test.
    static void expectRefusal(const support::ProcessResult& result, int exitCode,
                              const std::string& module, const std::string& reason) {
        expectEnd(result, exitCode, module, reason);
        EXPECT_EQ(result.outputLines().size(), 1U) << result.output;
    }

    /// A copy of the plug-in in which a text, wherever it stands, is another one of its length.
    std::string pluginWith(const std::string& instead, const std::string& of) const {
        std::string bytes = bytesOf(m_plugin);
        std::size_t found = 0;
        for (std::size_t at = bytes.find(of); at != std::string::npos;
             at = bytes.find(of, at + 1)) {
            bytes.replace(at, of.size(), instead);
            ++found;
        }
        EXPECT_EQ(instead.size(), of.size());
        EXPECT_GT(found, 0U) << of;
        return m_folder.write("changed.so", bytes);
    }

    Words with(const std::string& fault) const {
        return {"SSO_FAULTY_MODULE=" + m_plugin, "SSO_FAULT=" + fault};
    }

    /// Starts a check and does not wait for it.
    pid_t startCheck(const Words& words, const Words& environment) const {
        Words all = {support::builtPath("bin/sso-check-module")};
        all.insert(all.end(), words.begin(), words.end());
        std::vector<char*> arguments;
        for (std::string& word : all) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        const pid_t check = fork();
        if (check != 0) return check;
        prctl(PR_SET_PDEATHSIG, SIGTERM);  // when the test itself is ended
        ::signal(SIGINT, SIG_DFL);         // which is ignored in the background of a shell's script
        for (const std::string& variable : environment) {
            const std::size_t end = variable.find('=');
            setenv(variable.substr(0, end).c_str(), variable.substr(end + 1).c_str(), 1);
        }
        setenv("TMPDIR", m_folder.path("tmp").c_str(), 1);
        setenv("SSO_CHECKED_IN", m_folder.path("").c_str(), 1);
        execv(arguments[0], arguments.data());
        _exit(1);
    }

    /// Whether a test that startCheck() has led to is running.
    bool testsAreRunning() const {
        for (const auto& process : std::filesystem::directory_iterator("/proc")) {
            // Both are empty when it ends meanwhile.
            const std::string command = support::processFile(process.path() / "cmdline");
            const std::string environment = support::processFile(process.path() / "environ");
            if (command.find("/bin/protocol-tests") < command.find('\0') &&
                environment.find("SSO_CHECKED_IN=" + m_folder.path("")) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    template <typename Condition>
    static bool comesTrue(Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + support::kLongEnough;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return true;
    }

    const support::TemporaryFolder m_folder;
    const std::string m_plugin = support::builtPath("lib/libsso.so");
    const std::string m_faulty = support::builtPath("lib/libfaulty_module.so");
};

TEST_F(TheCheck, TakesAPlugInThatPasses) {
    expectEnd(check({m_plugin, "--filter", "TheVersion.*:*libsso"}), 0, m_plugin,
              "passes: 11 of 11 tests pass");
}

TEST_F(TheCheck, TakesAModuleThatHandsEverythingOn) {
    expectEnd(check({m_faulty, "--filter", "TheVersion.*"}, with("nothing")), 0, m_faulty,
              "passes: 6 of 6 tests pass");
}

TEST_F(TheCheck, RefusesWhatIsNoModule) {
    const std::string text = m_folder.write("notes.txt", "not a module\n");
    const std::string library = support::builtPath("lib/libdlog.so");
    const std::string program = support::builtPath("lib/libno_initialize_module.so");
    const std::string nothing = m_folder.path("nothing.so");
    expectRefusal(check({text}), 10, text, "is no module: it is no ELF file");
    expectRefusal(check({m_folder.path("")}), 10, m_folder.path(""),
                  "is no module: it is a folder");
    expectRefusal(check({nothing}), 10, nothing, "is no module: there is no such file");
    expectRefusal(check({library}), 10, library,
                  "is no module: it has no PPP_GetInterface and no PPP_InitializeModule");
    expectRefusal(check({program}), 10, program, "is no module: it has no PPP_InitializeModule");
}

TEST_F(TheCheck, RefusesAnotherArchitecture) {
    std::string bytes = bytesOf(m_plugin);
    bytes.replace(18, 2, std::string("\xB7\0", 2));  // e_machine
    const std::string other = m_folder.write("other.so", bytes);
    expectRefusal(check({other}), 11, other,
                  "is for another architecture: arm64, 64 bits; the tests are for x86-64, 64 bits");
}

TEST_F(TheCheck, RefusesAModuleWhoseLibrariesAreMissing) {
    const std::string module = support::builtPath("lib/libneedy_module.so");
    expectRefusal(check({module}), 12, module, "needs libraries that are missing: libnobody.so.1");

    const std::string folder = std::string("LD_LIBRARY_PATH=") + SSO_NEEDED_LIBRARIES;
    expectEnd(
        check({module, "--filter", "TheVersion.*"}, {"SSO_FAULTY_MODULE=" + m_plugin, folder}), 0,
        module, "passes: 6 of 6 tests pass");
}

TEST_F(TheCheck, RefusesAModuleWhoseFunctionsAreMissing) {
    const std::string module = support::builtPath("lib/libunresolved_module.so");
    expectRefusal(check({module, "--origin", kOrigin}), 12, module,
                  "cannot be loaded: " + module + ": undefined symbol: functionThatNobodyHas");
}

TEST_F(TheCheck, GivesTheStandInsTheVersionsThatAModuleNeeds) {
    const std::string module = support::builtPath("lib/libversioned_module.so");
    expectEnd(check({module, "--filter", "TheVersion.*"}, with("nothing")), 0, module,
              "passes: 6 of 6 tests pass");
}

TEST_F(TheCheck, RefusesAModuleThatCrashesAtLoad) {
    expectRefusal(check({m_faulty}, with("crash load")), 13, m_faulty,
                  "crashes while it is loaded: Segmentation fault");
}

TEST_F(TheCheck, RefusesAModuleThatHangsAtLoad) {
    expectRefusal(check({m_faulty}, with("hang load")), 14, m_faulty,
                  "hangs while it is loaded: not done after 5 seconds");
}

TEST_F(TheCheck, UsesTheModulesOwnOrigin) {
    std::string other = kOrigin;
    other.back() = other.back() == 'x' ? 'y' : 'x';
    const std::string module = pluginWith(other, kOrigin);
    expectEnd(check({module, "--filter", "TheGate.*"}), 0, module, "passes: 4 of 4 tests pass");
    expectRefusal(check({module, "--origin", kOrigin}), 15, module,
                  "asks for the privileges of " + other + ", not of " + kOrigin);
}

TEST_F(TheCheck, RefusesAModuleWithoutAnOrigin) {
    const std::string module = support::builtPath("lib/libecho_module.so");
    expectRefusal(
        check({module}), 15, module,
        "names no privilege that can be read from it: say with --origin whose it asks for");
}

TEST_F(TheCheck, TellsOfOneChangedText) {
    const std::string module = pluginWith("unkowN command", "unkown command");
    const auto result = check({module, "--filter", "ACommandOfTheOtherPath.*:TheVersion.*"});
    expectEnd(result, 1, module, "fails: 6 of 7 tests pass, 1 failed");
    EXPECT_THAT(result.output, HasSubstr("failed: IsUnknownThere\n"));
    EXPECT_THAT(result.output, HasSubstr("unkowN command"));
}

TEST_F(TheCheck, GoesOnBehindATestThatCrashes) {
    const auto result = check({m_faulty, "--filter", "TheVersion.IsAText:AnUnregisteredHandler.*"},
                              with("crash Destroy"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.outputLines().front(),
                MatchesRegex(".*: fails: [0-4] of 5 tests pass, .*crashed"));
    EXPECT_THAT(result.errors, HasSubstr("crashed: AnUnregisteredHandler.TellsThePageWithOneWord, "
                                         "Segmentation fault\n"));
}

TEST_F(TheCheck, FindsAnyCrash) {
    for (const char* place : {"PPP_InitializeModule", "PPP_GetInterface", "DidCreate",
                              "HandleBlockingMessage", "DidDestroy", "PPP_ShutdownModule"}) {
        expectEnd(
            check({m_faulty, "--filter", "TheVersion.IsAText:ThePlugin.UsesNoControlInterface"},
                  with(std::string("crash ") + place)),
            1, m_faulty, "fails: 1 of 2 tests pass, 1 crashed");
    }
}

TEST_F(TheCheck, FindsAnyHang) {
    for (const char* place : {"PPP_InitializeModule", "PPP_GetInterface", "DidCreate",
                              "HandleBlockingMessage", "DidDestroy", "PPP_ShutdownModule"}) {
        const auto result = check({m_faulty, "--limit", "1", "--filter",
                                   "TheVersion.IsAText:ThePlugin.UsesNoControlInterface"},
                                  with(std::string("hang ") + place));
        expectEnd(result, 1, m_faulty, "fails: 1 of 2 tests pass, 1 hung");
        EXPECT_THAT(result.errors,
                    HasSubstr("hung: TheVersion.IsAText, not done after 1 seconds\n"));
    }
}

TEST_F(TheCheck, GivesUpAModuleThatHangsEachTime) {
    const auto result = check({m_faulty, "--limit", "1"}, with("hang PPP_GetInterface"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.outputLines().front(), HasSubstr(" not run"));
}

TEST_F(TheCheck, LeavesNeitherATestThatHangsNorAFileBehindWhenItIsKilled) {
    const std::string temporary = m_folder.path("tmp");
    std::filesystem::create_directory(temporary);
    for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
        const pid_t check =
            startCheck({m_faulty, "--limit", "600", "--filter", "TheVersion.IsAText"},
                       with("hang PPP_ShutdownModule"));
        SCOPED_TRACE(signal);
        ASSERT_TRUE(comesTrue([&] { return testsAreRunning(); }));
        EXPECT_FALSE(std::filesystem::is_empty(temporary));
        kill(check, signal);
        ASSERT_TRUE(comesTrue([&] { return waitpid(check, nullptr, WNOHANG) == check; }));
        ASSERT_TRUE(comesTrue([&] { return !testsAreRunning(); }));
        ASSERT_TRUE(comesTrue([&] { return std::filesystem::is_empty(temporary); }));
    }
}

TEST_F(TheCheck, CountsNoTestThatAModuleWithoutInstancesPasses) {
    const std::string report = m_folder.path("report.json");
    check({support::builtPath("lib/libno_instance_module.so"), "--origin", kOrigin, "--json",
           report});
    int ofBehaviour = 0;
    const auto written = nlohmann::json::parse(bytesOf(report));
    for (const auto& test : written.at("tests")) {
        if (test.at("program") == "abi-tests") continue;  // of the file, which may be sound
        ++ofBehaviour;
        EXPECT_NE(test.at("outcome"), "passed") << test.at("suite") << test.at("name");
    }
    EXPECT_GT(ofBehaviour, 100);
}

TEST_F(TheCheck, TellsWhatDoesNotApplyToAStrippedModule) {
    const std::string stripped = m_folder.path("stripped.so");
    const std::string symbols = m_folder.path("libsso.debug");
    runTool({"/usr/bin/strip", "-o", stripped, m_plugin});
    runTool({"/usr/bin/objcopy", "--only-keep-debug", m_plugin, symbols});
    const Words words = {stripped, "--filter", "TheTracedPlugin.*:The*Class.*:ThePlugin.*"};
    const auto result = check(words);
    expectEnd(result, 0, stripped, "passes: 6 of 6 tests pass, 10 not applicable");
    EXPECT_THAT(result.output, HasSubstr("the module is stripped, and --debug-file does not say"));

    Words again = words;
    again.insert(again.end(), {"--debug-file", symbols});
    expectEnd(check(again), 0, stripped, "passes: 16 of 16 tests pass");
}

// What does not apply: the names that clang gives, or that are gone when all was optimised at once, and
// the place of a RUNPATH, which a device build has not.
TEST_F(TheCheck, TakesOtherBuildsOfThePlugInThatPass) {
    const std::string sdk = m_folder.path("sdk");
    runTool(
        {SSO_CMAKE, "--install", support::builtPath(""), "--component", "sdk", "--prefix", sdk});
    struct Row {
        std::string name;
        Words settings;
    };
    const Row rows[] = {
        {"lto", {"-DCMAKE_CXX_COMPILER=g++", "-DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON"}},
        {"clang",
         {"-DCMAKE_CXX_COMPILER=clang++-14", "-DCMAKE_BUILD_TYPE=None",
          "-DCMAKE_CXX_FLAGS=-Os -g"}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string tree = m_folder.path(row.name);
        Words configure = {SSO_CMAKE, "-S", SSO_SOURCE_DIR, "-B",
                           tree,      "-G", "Ninja",        "-DSSO_PLATFORM=device"};
        configure.insert(configure.end(), row.settings.begin(), row.settings.end());
        support::ProcessOptions options;
        options.environment = {"PKG_CONFIG_PATH=" + sdk + "/lib/pkgconfig"};
        ASSERT_EQ(support::runProcess(configure, options).exitCode, 0);
        runTool({SSO_CMAKE, "--build", tree});
        const std::string module = tree + "/lib/libsso.so";
        const auto result = check(
            {module, "--filter", "TheVersion.*:TheTracedPlugin*:The*Class*:ThePlugin.*:*libsso"});
        expectEnd(result, 0, module, "passes: 19 of 19 tests pass, 8 not applicable");
    }
}

TEST_F(TheCheck, WantsTheSymbolsOfThisBuild) {
    const auto result = check({m_plugin, "--debug-file", m_faulty});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("belongs to another build"));
}

TEST_F(TheCheck, WritesItsReports) {
    const std::string json = m_folder.path("report.json");
    const std::string junit = m_folder.path("report.xml");
    check({m_faulty, "--filter", "TheVersion.IsAText:ThePlugin.IsCalledLibsso", "--json", json,
           "--junit", junit},
          with("nothing"));
    const auto report = nlohmann::json::parse(bytesOf(json));
    EXPECT_EQ(report.at("exitCode"), 1);
    EXPECT_EQ(report.at("conclusion"), "fails: 1 of 2 tests pass, 1 failed");
    const auto& facts = report.at("facts");
    EXPECT_THAT(facts.at("sha256"), MatchesRegex("[0-9a-f]{64}"));
    EXPECT_THAT(facts.at("build id"), MatchesRegex("[0-9a-f]{40}"));
    EXPECT_EQ(facts.at("origin"), kOrigin);
    EXPECT_EQ(facts.at("version"), "1.1");
    EXPECT_NE(facts.at("compiler"), "");
    ASSERT_EQ(report.at("tests").size(), 2U);
    EXPECT_EQ(report.at("tests")[0].at("name"), "IsAText");
    EXPECT_EQ(report.at("tests")[0].at("outcome"), "passed");
    EXPECT_EQ(report.at("tests")[1].at("outcome"), "failed");
    EXPECT_THAT(report.at("tests")[1].at("reason").get<std::string>(), HasSubstr("\"libsso.so\""));

    const std::string xml = bytesOf(junit);
    EXPECT_THAT(xml, HasSubstr(R"(tests="2" failures="1" errors="0" skipped="0")"));
    EXPECT_THAT(xml, HasSubstr(R"(<property name="version" value="1.1"/>)"));
    EXPECT_THAT(xml,
                HasSubstr(R"(<testcase classname="protocol-tests.TheVersion" name="IsAText")"));
    EXPECT_THAT(xml, HasSubstr(R"(<failure message="failed">)"));
}

TEST_F(TheCheck, ExplainsItsExitCodes) {
    const auto result = check({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    for (const char* code : {"\n   0  ", "\n   1  ", "\n   2  ", "\n  10  ", "\n  11  ", "\n  12  ",
                             "\n  13  ", "\n  14  ", "\n  15  "}) {
        EXPECT_THAT(result.output, HasSubstr(code));
    }
    EXPECT_EQ(check({}).exitCode, 2);
    EXPECT_EQ(check({m_plugin, "--no-such-option"}).exitCode, 2);
    EXPECT_EQ(check({m_plugin, "--filter", "NoSuchTest"}).exitCode, 2);
}

TEST_F(TheCheck, RunsFromAPackage) {
    runTool({SSO_CMAKE, "--install", support::builtPath(""), "--component", "qualification",
             "--prefix", m_folder.path("")});
    const std::string package = m_folder.path("lib/sso-qualification");
    const std::string program = package + "/bin/sso-check-module";
    const Words words = {m_plugin, "--filter",
                         "TheVersion.*:NativeHost/TheContract.IsKept/SignedIn*:ThePlugin.*"};
    expectEnd(checkWith(program, words), 0, m_plugin, "passes: 13 of 13 tests pass");

    // It reads its own data, not the source tree's.
    std::filesystem::remove(package + "/data/protocol/protocol.json");
    EXPECT_EQ(checkWith(program, words).exitCode, 2);
}

}  // namespace
