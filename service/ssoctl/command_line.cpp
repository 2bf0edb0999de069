#include "command_line.h"

#include "service/state_name.h"

namespace ssoctl {

CommandLine parseCommandLine(const std::vector<std::string>& words) {
    const std::string stateOption = "--state";
    CommandLine line;
    bool isRest = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        isRest = isRest || word == "--";
        if (isRest) {
            line.words.push_back(word);
        } else if (word == "--json") {
            line.json = true;
        } else if (word == stateOption) {
            if (++i == words.size()) throw Failure(kWrongWords, "--state: a name must follow");
            line.state = words[i];
        } else if (word.compare(0, stateOption.size() + 1, stateOption + "=") == 0) {
            line.state = word.substr(stateOption.size() + 1);
        } else if (word == "--version" && line.words.empty()) {
            line.version = true;  // after a verb it is the verb's own
        } else {
            line.words.push_back(word);
        }
    }
    if (!service::isStateName(line.state)) {
        throw Failure(kWrongWords, std::string("--state: its name ") + service::kStateNameRule);
    }
    return line;
}

std::vector<std::string> splitLine(const std::string& line) {
    std::vector<std::string> words;
    bool isWord = false;
    char quote = '\0';
    for (const char letter : line) {
        const bool isBlank = letter == ' ' || letter == '\t' || letter == '\r';
        if (quote != '\0') {
            if (letter == quote) {
                quote = '\0';
            } else {
                words.back() += letter;
            }
            continue;
        }
        if (isBlank) {
            isWord = false;
            continue;
        }
        if (!isWord && letter == '#') break;
        if (!isWord) words.emplace_back();
        isWord = true;
        if (letter == '"' || letter == '\'') {
            quote = letter;
        } else {
            words.back() += letter;
        }
    }
    if (quote != '\0') throw Failure(kWrongWords, "a quote does not end");
    return words;
}

}  // namespace ssoctl
