#ifndef QUALIFICATION_SUITE_H_
#define QUALIFICATION_SUITE_H_

#include <chrono>
#include <functional>
#include <string>
#include <vector>

/// The test programs, run test by test.
namespace qualification {

enum class Outcome { Passed, Failed, Crashed, Hung, NotApplicable, NotRun };

/// "passed", "failed", "crashed", "hung", "not applicable", "not run"
const char* nameOf(Outcome outcome);

struct TestResult {
    std::string program;  ///< "protocol-tests"
    std::string suite;    ///< "TheGate", also of a test that is made of a table
    std::string name;     ///< of the test in its suite
    Outcome outcome = Outcome::NotRun;
    double seconds = 0;
    std::string reason;  ///< lines; "" when it passed
};

struct SuiteOptions {
    std::string folder;                    ///< of the test programs
    std::string filter;                    ///< of the tests, as GoogleTest's; "" for all
    std::vector<std::string> environment;  ///< "NAME=value", for the tests
    std::chrono::seconds limit{10};        ///< for a test
    unsigned jobs = 4;                     ///< tests at a time
    /// Told after each test, on any thread, one call at a time: the result, how many are done, and
    /// of how many.
    std::function<void(const TestResult&, std::size_t, std::size_t)> onResult;
};

/// Runs each test of the module in a process of its own.
///
/// When more than two tests have hung, the next ones have three seconds; when eight of a program have,
/// the rest of it is not run. If no more than two have hung in all, they are tried again at
/// the end, with twice the time: the machine may have been busy.
///
/// @return the results in the order of the programs' own lists.
/// @throws std::runtime_error  when a test program is missing or lists no tests.
std::vector<TestResult> runSuite(const SuiteOptions& options);

}  // namespace qualification

#endif
