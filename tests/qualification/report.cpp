#include "report.h"

#include <algorithm>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

namespace qualification {
namespace {

using Json = nlohmann::ordered_json;

std::size_t count(const std::vector<TestResult>& results, Outcome outcome) {
    return static_cast<std::size_t>(
        std::count_if(results.begin(), results.end(),
                      [&](const TestResult& result) { return result.outcome == outcome; }));
}

std::string shortened(const std::string& line) {
    constexpr std::size_t kLongest = 200;
    return line.size() > kLongest ? line.substr(0, kLongest) + "..." : line;
}

/// The first lines of a reason, as many as help at a glance.
std::string beginOf(const std::string& reason) {
    constexpr int kLines = 5;
    std::istringstream lines(reason);
    std::string begin;
    std::string line;
    for (int i = 0; i < kLines && std::getline(lines, line); ++i) {
        begin += "                   " + shortened(line) + "\n";
    }
    return begin;
}

/// A text for XML: what may not stand there is a question mark.
std::string xml(const std::string& text) {
    static const std::map<char, const char*> kEntities = {
        {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}};
    std::string safe;
    for (const char byte : text) {
        const auto entity = kEntities.find(byte);
        const bool control = byte >= 0 && byte < ' ' && byte != '\n' && byte != '\t';
        if (entity != kEntities.end()) {
            safe += entity->second;
        } else {
            safe += control || byte < 0 ? '?' : byte;
        }
    }
    return safe;
}

}  // namespace

void conclude(Report& report) {
    const std::size_t applicable =
        report.results.size() - count(report.results, Outcome::NotApplicable);
    const std::size_t passed = count(report.results, Outcome::Passed);
    report.verdict = passed == applicable && passed > 0 ? Verdict::Passes : Verdict::Fails;
    std::ostringstream text;
    text << (report.verdict == Verdict::Passes ? "passes: " : "fails: ") << passed << " of "
         << applicable << " tests pass";
    for (const Outcome outcome : {Outcome::Failed, Outcome::Crashed, Outcome::Hung, Outcome::NotRun,
                                  Outcome::NotApplicable}) {
        const std::size_t number = count(report.results, outcome);
        if (number > 0) text << ", " << number << " " << nameOf(outcome);
    }
    report.conclusion = text.str();
}

void writeText(const Report& report, std::ostream& out) {
    out << report.module << ": " << report.conclusion << "\n";
    if (report.results.empty()) return;
    for (const auto& [name, value] : report.facts) {
        out << "  " << std::left << std::setw(14) << name << value << "\n";
    }
    out << "  " << std::setw(14) << "time" << std::fixed << std::setprecision(1) << report.seconds
        << " s\n";

    std::vector<std::string> suites;
    std::map<std::string, std::vector<TestResult>> tests;
    for (const TestResult& result : report.results) {
        if (tests[result.suite].empty()) suites.push_back(result.suite);
        tests[result.suite].push_back(result);
    }
    for (const std::string& suite : suites) {
        out << std::right << std::setw(4) << count(tests[suite], Outcome::Passed) << " of "
            << std::setw(3) << tests[suite].size() - count(tests[suite], Outcome::NotApplicable)
            << "   " << suite << "\n";
        for (const TestResult& result : tests[suite]) {
            if (result.outcome == Outcome::Passed) continue;
            out << "               " << nameOf(result.outcome) << ": " << result.name << "\n"
                << beginOf(result.reason);
        }
    }
}

void writeJson(const Report& report, std::ostream& out) {
    Json json = {{"module", report.module},
                 {"exitCode", static_cast<int>(report.verdict)},
                 {"conclusion", report.conclusion},
                 {"seconds", report.seconds}};
    for (const auto& [name, value] : report.facts) json["facts"][name] = value;
    json["tests"] = Json::array();
    for (const TestResult& result : report.results) {
        json["tests"].push_back({{"program", result.program},
                                 {"suite", result.suite},
                                 {"name", result.name},
                                 {"outcome", nameOf(result.outcome)},
                                 {"seconds", result.seconds},
                                 {"reason", result.reason}});
    }
    // What a module writes need not be text.
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

void writeJunit(const Report& report, std::ostream& out) {
    const auto number = [&](Outcome outcome) { return count(report.results, outcome); };
    const bool refused = report.results.empty();
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"" << xml(report.module)
        << "\" tests=\"" << (refused ? 1 : report.results.size()) << "\" failures=\""
        << number(Outcome::Failed) << "\" errors=\""
        << (refused ? 1 : number(Outcome::Crashed) + number(Outcome::Hung)) << "\" skipped=\""
        << number(Outcome::NotApplicable) + number(Outcome::NotRun) << "\" time=\""
        << report.seconds << "\">\n  <properties>\n";
    for (const auto& [name, value] : report.facts) {
        out << "    <property name=\"" << xml(name) << "\" value=\"" << xml(value) << "\"/>\n";
    }
    out << "  </properties>\n";
    if (refused) {
        out << "  <testcase classname=\"TheModule\" name=\"CanBeTested\"><error message=\""
            << xml(report.conclusion) << "\"/></testcase>\n";
    }
    for (const TestResult& result : report.results) {
        out << "  <testcase classname=\"" << xml(result.program + "." + result.suite)
            << "\" name=\"" << xml(result.name) << "\" time=\"" << result.seconds << "\"";
        if (result.outcome == Outcome::Passed) {
            out << "/>\n";
            continue;
        }
        const bool skipped =
            result.outcome == Outcome::NotApplicable || result.outcome == Outcome::NotRun;
        const char* element = skipped                             ? "skipped"
                              : result.outcome == Outcome::Failed ? "failure"
                                                                  : "error";
        out << "><" << element << " message=\"" << nameOf(result.outcome) << "\">"
            << xml(result.reason) << "</" << element << "></testcase>\n";
    }
    out << "</testsuite>\n";
}

}  // namespace qualification
