#ifndef QUALIFICATION_REPORT_H_
#define QUALIFICATION_REPORT_H_

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "suite.h"
#include "verdict.h"

namespace qualification {

/// What is known of a qualification. Each writer tells all of it.
struct Report {
    std::string module;  ///< its path
    Verdict verdict = Verdict::Passes;
    std::string conclusion;  ///< goes on from the module's name: "passes: 12 of 12 tests pass"
    /// "sha256", "build id" and so on, with what was found, in order.
    std::vector<std::pair<std::string, std::string>> facts;
    std::vector<TestResult> results;  ///< empty when the module was refused before its tests
    double seconds = 0;
};

/// The verdict of the tests, and the conclusion in words.
void conclude(Report& report);

/// The conclusion in the first line, then what was found, then the tests by subject.
void writeText(const Report& report, std::ostream& out);
void writeJson(const Report& report, std::ostream& out);
void writeJunit(const Report& report, std::ostream& out);

}  // namespace qualification

#endif
