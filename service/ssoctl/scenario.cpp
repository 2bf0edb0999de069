// A scenario: verbs in a file, one a line.

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "command_line.h"
#include "verb.h"

namespace ssoctl {
namespace {

using Words = std::vector<std::string>;

struct Line {
    Words words;
    bool mustFail = false;  ///< it begins with "!"
    bool hasInput = false;  ///< it ends with "<<< TEXT"
    std::string input;
};

Line parseLine(const std::string& text) {
    Line line;
    line.words = splitLine(text);
    if (!line.words.empty() && line.words.front() == "!") {
        line.mustFail = true;
        line.words.erase(line.words.begin());
    }
    const auto mark = std::find(line.words.begin(), line.words.end(), "<<<");
    if (mark != line.words.end()) {
        if (line.words.end() - mark != 2) throw Failure(kWrongWords, "one word must follow <<<");
        line.hasInput = true;
        line.input = line.words.back() + "\n";
        line.words.erase(mark, line.words.end());
    }
    if (!line.words.empty() && line.words.front() == "run") {
        throw Failure(kWrongWords, "a scenario cannot run another");
    }
    return line;
}

void doLine(Session& session, const Line& line) {
    // Standard input may be the scenario itself.
    const std::string nothing;
    const bool isFile = line.words.size() == 3 && line.words[0] == "state";
    const std::string* input = line.hasInput ? &line.input : isFile ? nullptr : &nothing;
    try {
        doVerb(session, line.words, input);
    } catch (const Failure& failure) {
        if (line.mustFail && failure.exit() == kRefused) return;
        throw;
    }
    if (line.mustFail) throw Failure(kRefused, "it was to be refused, and was not");
}

}  // namespace

void runScenario(Session& session, const Json& arguments) {
    const std::string file = arguments.at("file").get<std::string>();
    std::istringstream text(readInput(file));
    session.remote.listen();  // a wait may be for what an earlier line has brought about
    int number = 0;
    for (std::string each; std::getline(text, each);) {
        ++number;
        try {
            const Line line = parseLine(each);
            if (!line.words.empty()) doLine(session, line);
        } catch (const Failure& failure) {
            throw Failure(failure.exit(),
                          file + ":" + std::to_string(number) + ": " + failure.what());
        }
    }
}

}  // namespace ssoctl
