#include "suite.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <regex>
#include <stdexcept>
#include <thread>

#include "child.h"
#include "process.h"

namespace qualification {
namespace {

// A test may be slow on a busy machine: then few hang, and are tried again.
constexpr unsigned kHangsToTryAgain = 2;
constexpr std::chrono::seconds kLimitAfterMoreHangs{3};
constexpr unsigned kHangsToGiveUp = 8;

struct Program {
    const char* name;
    /// Tests of the data, of the stand-ins and of the tests themselves: they pass for any module.
    const char* notOfTheModule;
};

constexpr Program kPrograms[] = {
    {"contract-tests", "TheData.*:TheContractsVisits.*:Named/ASchemaOfTheData.*:AMistake/*"},
    {"protocol-tests", "TheTableOf*Commands.*:TheLinesOfTheLog.*"},
    {"abi-tests",
     "TheStandIns.*:OfTheTree/AHardenedLibrary.*/libsso_api:OfTheTree/AHardenedLibrary.*/libvconf:"
     "OfTheTree/AHardenedLibrary.*/libdlog:OfTheTree/AHardenedLibrary.*/libht"},
};

/// A test, and what GoogleTest calls it.
struct Listed {
    TestResult result;
    std::string fullName;
};

/// GoogleTest has this in the list when a table of tests is empty: its data cannot be read.
constexpr const char* kEmptyTable = "GoogleTestVerification.";

/// What to run of a program: the tests of the module that were asked for.
std::string filterOf(const Program& program, const std::string& asked) {
    const std::size_t without = asked.find('-');
    const std::string wanted = asked.substr(0, without);
    return (wanted.empty() ? "*" : wanted) + ":" + kEmptyTable + "*-" + program.notOfTheModule +
           (without != std::string::npos ? ":" + asked.substr(without + 1) : "");
}

std::vector<Listed> listTests(const Program& program, const SuiteOptions& options) {
    support::ProcessOptions process;
    process.environment = options.environment;
    const support::ProcessResult list =
        support::runProcess({options.folder + "/" + program.name, "--gtest_list_tests",
                             "--gtest_filter=" + filterOf(program, options.filter)},
                            process);
    if (list.exitCode != 0 || list.output.find(kEmptyTable) != std::string::npos) {
        throw std::runtime_error(std::string(program.name) + " cannot list its tests: " +
                                 (list.errors.empty() ? "its data is missing" : list.errors));
    }
    std::vector<Listed> tests;
    std::string suite;
    for (const std::string& line : list.outputLines()) {
        const std::string word = line.substr(0, line.find("  #"));
        if (word.rfind("  ", 0) == 0) {
            // Of "NativeHost/TheContract." the first part only says whose table it is.
            const std::string shown = suite.substr(suite.find('/') + 1);
            Listed test;
            test.result.program = program.name;
            test.result.suite = shown.substr(0, shown.size() - 1);
            test.result.name = word.substr(2);
            test.fullName = suite + word.substr(2);
            tests.push_back(test);
        } else if (!word.empty() && word.back() == '.') {
            suite = word;
        }
    }
    return tests;
}

/// What the test said between GoogleTest's own lines.
std::string reasonIn(const support::ProcessResult& process) {
    static const std::regex kOwn(
        R"(^(Running main|Note: |\[[-=]+\]|\[ +(RUN|OK|FAILED|SKIPPED|PASSED) +\]|\s*\d+ FAILED TEST).*|^$)");
    std::string reason;
    for (const auto& lines : {process.outputLines(), process.errorLines()}) {
        for (const std::string& line : lines) {
            if (!std::regex_match(line, kOwn)) reason += (reason.empty() ? "" : "\n") + line;
        }
    }
    return reason;
}

void run(Listed& test, const SuiteOptions& options, std::chrono::seconds limit) {
    support::ProcessOptions process;
    process.environment = options.environment;
    process.timeout = limit;
    const auto begin = std::chrono::steady_clock::now();
    support::ProcessResult ended;
    try {
        ended = support::runProcess(
            childCommand({kProgram, options.folder + "/" + test.result.program,
                          "--gtest_filter=" + test.fullName, "--gtest_color=no"}),
            process);
    } catch (const std::exception& error) {
        test.result.reason = error.what();  // the program cannot be started: it is not run
        return;
    }
    test.result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    test.result.reason = reasonIn(ended);
    if (ended.timedOut) {
        test.result.outcome = Outcome::Hung;
        test.result.reason =
            "not done after " + std::to_string(limit.count()) + " seconds\n" + test.result.reason;
    } else if (ended.signal != 0) {
        test.result.outcome = Outcome::Crashed;
        test.result.reason = std::string(strsignal(ended.signal)) + "\n" + test.result.reason;
    } else if (ended.exitCode != 0 || ended.output.find("[  PASSED  ]") == std::string::npos) {
        test.result.outcome = Outcome::Failed;
        if (test.result.reason.empty()) {
            test.result.reason = "exit code " + std::to_string(ended.exitCode);
        }
    } else if (ended.output.find("[  SKIPPED ]") != std::string::npos) {
        test.result.outcome = Outcome::NotApplicable;
    } else {
        test.result.outcome = Outcome::Passed;
        test.result.reason.clear();
    }
}

/// Runs those that hung once more, with twice the time, if they are few.
void tryAgain(std::vector<std::vector<Listed>>& programs, const SuiteOptions& options) {
    std::vector<Listed*> hung;
    for (std::vector<Listed>& tests : programs) {
        for (Listed& test : tests) {
            if (test.result.outcome == Outcome::Hung) hung.push_back(&test);
        }
    }
    if (hung.size() > kHangsToTryAgain) return;
    std::vector<std::thread> workers;
    for (Listed* test : hung) {
        workers.emplace_back([test, &options] { run(*test, options, 2 * options.limit); });
    }
    for (std::thread& worker : workers) worker.join();
}

}  // namespace

const char* nameOf(Outcome outcome) {
    static constexpr const char* kNames[] = {"passed", "failed",         "crashed",
                                             "hung",   "not applicable", "not run"};
    return kNames[static_cast<int>(outcome)];
}

std::vector<TestResult> runSuite(const SuiteOptions& options) {
    std::vector<std::vector<Listed>> programs;
    std::size_t total = 0;
    for (const Program& program : kPrograms) {
        programs.push_back(listTests(program, options));
        total += programs.back().size();
    }
    if (total == 0) throw std::runtime_error("no test has such a name");

    std::vector<TestResult> results;
    std::mutex mutex;
    std::size_t done = 0;
    std::atomic<unsigned> hung{0};
    for (std::vector<Listed>& tests : programs) {
        std::atomic<std::size_t> next{0};
        std::atomic<unsigned> hungHere{0};
        const auto work = [&] {
            for (std::size_t i = next++; i < tests.size(); i = next++) {
                TestResult& result = tests[i].result;
                if (hungHere < kHangsToGiveUp) {
                    run(tests[i], options,
                        hung <= kHangsToTryAgain ? options.limit
                                                 : std::min(options.limit, kLimitAfterMoreHangs));
                } else {
                    result.reason = std::to_string(kHangsToGiveUp) + " tests of " + result.program +
                                    " hung before";
                }
                if (result.outcome == Outcome::Hung) {
                    ++hung;
                    ++hungHere;
                }
                const std::lock_guard lock(mutex);
                if (options.onResult) options.onResult(result, ++done, total);
            }
        };
        std::vector<std::thread> workers;
        for (unsigned job = 0; job < options.jobs; ++job) workers.emplace_back(work);
        for (std::thread& worker : workers) worker.join();
    }
    tryAgain(programs, options);
    for (const std::vector<Listed>& tests : programs) {
        for (const Listed& test : tests) results.push_back(test.result);
    }
    return results;
}

}  // namespace qualification
