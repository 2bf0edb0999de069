// sso-check-module: qualifies a build of the module with the tests of its behaviour. Its suppliers
// are the stand-ins, so it needs no device.

#include <sys/resource.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "base/swept_folder.h"
#include "child.h"
#include "module_file.h"
#include "module_path.h"
#include "probe.h"
#include "process.h"
#include "report.h"
#include "suite.h"
#include "verdict.h"

namespace {

using qualification::ModuleFile;
using qualification::Refusal;
using qualification::Report;
using qualification::TestResult;
using qualification::Verdict;

constexpr const char* kExitCodes = R"(Exit codes:
   0  all tests that apply pass
   1  a test fails, crashes, hangs or could not be run
   2  a mistake on the command line, or the tests are not there
  10  not a module
  11  built for another architecture
  12  libraries or functions that it needs are missing
  13  crashes when it is loaded
  14  hangs when it is loaded
  15  asks for the privileges of another origin than --origin says, or of none that can be read
The first line on standard output says the same in words.)";

struct CommandLine {
    std::string module;
    std::string origin;
    std::string debugFile;
    std::string json;
    std::string junit;
    qualification::SuiteOptions suite;
};

/// The privileges' origin that the tests have to use.
std::string originOf(const ModuleFile& file, const std::string& wanted) {
    if (file.origins.empty() && wanted.empty()) {
        throw Refusal(
            Verdict::OtherOrigin,
            "names no privilege that can be read from it: say with --origin whose it asks for");
    }
    if (file.origins.empty()) return wanted;
    std::string found;
    for (const std::string& origin : file.origins) {
        found += (found.empty() ? "" : " and ") + origin;
    }
    if (file.origins.size() > 1 || (!wanted.empty() && found != wanted)) {
        throw Refusal(Verdict::OtherOrigin,
                      "asks for the privileges of " + found +
                          (wanted.empty() ? ": one origin is possible" : ", not of " + wanted));
    }
    return found;
}

/// @throws std::runtime_error  when the symbols are of another build.
void checkDebugFile(const std::string& path, const ModuleFile& module) {
    const ModuleFile file = qualification::readModuleFile(path);
    if (file.stripped) throw std::runtime_error(path + " has no symbols either");
    if (file.buildId != module.buildId) {
        throw std::runtime_error(path + " belongs to another build: its build id is " +
                                 file.buildId + ", the module's " + module.buildId);
    }
}

std::string sha256Of(const std::string& path) {
    const std::string output = support::runProcess({"/usr/bin/sha256sum", path}).output;
    // Before a name with a backslash there is one more.
    const std::size_t begin = output.rfind('\\', 0) == 0 ? 1 : 0;
    return output.substr(begin, output.find(' ') - begin);
}

void showProgress(const TestResult& result, std::size_t done, std::size_t total) {
    const bool terminal = isatty(STDERR_FILENO) != 0;
    const std::string number = std::to_string(done) + " of " + std::to_string(total);
    if (result.outcome == qualification::Outcome::Hung ||
        result.outcome == qualification::Outcome::Crashed) {
        std::cerr << (terminal ? "\r\033[K" : "") << nameOf(result.outcome) << ": " << result.suite
                  << "." << result.name << ", " << result.reason.substr(0, result.reason.find('\n'))
                  << "\n";
    }
    if (terminal) std::cerr << "\r\033[K" << number << (done == total ? "\n" : "") << std::flush;
    if (!terminal && (done % 50 == 0 || done == total)) std::cerr << number << " tests done\n";
}

void check(CommandLine& command, Report& report) {
    const ModuleFile file = qualification::readModuleFile(command.module);
    report.facts = {{"sha256", sha256Of(command.module)},
                    {"build id", file.buildId},
                    {"architecture", file.architecture},
                    {"compiler", file.compiler}};
    qualification::checkModuleFile(file);
    const std::string origin = originOf(file, command.origin);
    report.facts.emplace_back("origin", origin);
    if (!command.debugFile.empty()) checkDebugFile(command.debugFile, file);

    // The tests' own folders go with it, too, when they are killed.
    const base::SweptFolder folder("sso-check");
    const std::string versions = folder.path() / "versions";
    std::filesystem::create_directory(versions);
    std::vector<std::string>& environment = command.suite.environment;
    environment.push_back("LD_LIBRARY_PATH=" +
                          qualification::libraryPath(file, {support::builtPath("lib"), versions}));
    environment.push_back("TMPDIR=" + folder.path().string());
    environment.push_back("SSO_TEST_MODULE=" + command.module);
    environment.push_back("SSO_TEST_ORIGIN=" + origin);
    environment.push_back("SSO_TEST_SYMBOLS=" + command.debugFile);
    // Installed, they have their data beside them.
    const std::string data = support::builtPath("data");
    if (std::filesystem::exists(data)) environment.push_back("SSO_TEST_DATA=" + data);

    qualification::checkLoading(command.module, file.needed, environment);
    const std::string version = qualification::askVersion(command.module, environment);
    report.facts.emplace_back("version", version.empty() ? "it does not answer" : version);
    report.facts.emplace_back("symbols", !file.stripped               ? "its own"
                                         : !command.debugFile.empty() ? command.debugFile
                                                                      : "none: it is stripped");
    report.results = qualification::runSuite(command.suite);
    conclude(report);
}

void write(const std::string& path, void (*writer)(const Report&, std::ostream&),
           const Report& report) {
    if (path.empty()) return;
    std::ofstream out(path);
    writer(report, out);
    if (!out.flush()) throw std::runtime_error("cannot write " + path);
}

int checkModule(CommandLine& command) {
    const auto begin = std::chrono::steady_clock::now();
    Report report;
    report.module = command.module;
    try {
        check(command, report);
    } catch (const Refusal& refusal) {
        report.verdict = refusal.verdict();
        report.conclusion = refusal.what();
    }
    report.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    writeText(report, std::cout);
    write(command.json, &qualification::writeJson, report);
    write(command.junit, &qualification::writeJunit, report);
    return static_cast<int>(report.verdict);
}

int runProgram(int argc, char** argv) {
    if (argc > 1 && argv[1] == std::string(qualification::kChildOption)) {
        return qualification::runChild({argv + 2, argv + argc});
    }
    CommandLine command;
    int limit = static_cast<int>(command.suite.limit.count());
    CLI::App app("Runs the tests of the module's behaviour against a build of it.",
                 "sso-check-module");
    app.footer(kExitCodes);
    app.add_option("MODULE", command.module, "The build, for example libsso.so");
    app.add_option("--origin", command.origin,
                   "Scheme and host that its privilege identifiers must have; else read from it");
    app.add_option("--debug-file", command.debugFile, "Where the symbols of a stripped module are")
        ->check(CLI::ExistingFile);
    app.add_option("--json", command.json, "Write the report as JSON, too");
    app.add_option("--junit", command.junit, "Write the report as JUnit's XML, too");
    app.add_option("--filter", command.suite.filter, "Only these tests, as --gtest_filter has it");
    app.add_option("--limit", limit, "Seconds for a test")
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
    app.add_option("--jobs", command.suite.jobs, "Tests at a time")
        ->check(CLI::Range(1, 64))
        ->capture_default_str();
    try {
        app.parse(argc, argv);
        if (command.module.empty()) throw CLI::RequiredError("MODULE");
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : static_cast<int>(Verdict::NotAsked);
    }
    command.module = std::filesystem::absolute(command.module).string();
    command.suite.folder = support::builtPath("bin");
    command.suite.limit = std::chrono::seconds(limit);
    command.suite.onResult = &showProgress;
    return checkModule(command);
}

}  // namespace

int main(int argc, char** argv) {
    // Modules crash here by design, and whoever reads the output may leave.
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return runProgram(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "sso-check-module: " << error.what() << "\n";
        return static_cast<int>(Verdict::NotAsked);
    }
}
