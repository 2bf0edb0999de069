#include "verb.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>
#include <thread>

#include "command_line.h"
#include "readable.h"

namespace ssoctl {
namespace {

using Words = std::vector<std::string>;

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool isFile(const std::string& word) {
    return word == "-" || word.find('/') != std::string::npos || endsWith(word, ".json");
}

/// The words of "state save FILE" or "state load FILE": those for the service, and the file; "" for all others.
std::string takeFile(Words& words, const char* verb) {
    if (words.size() != 3 || words[0] != "state" || words[1] != verb || !isFile(words[2])) {
        return "";
    }
    const std::string file = words.back();
    words.pop_back();
    return file;
}

bool wantsInput(const Words& words) {
    return std::any_of(words.begin(), words.end(),
                       [](const std::string& word) { return endsWith(word, "-stdin"); });
}

/// A state has passwords and tokens in it: it is for its user alone.
void writeFile(const std::string& file, const std::string& text) {
    const int made = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    bool isWritten = made >= 0 && fchmod(made, 0600) == 0;
    for (std::size_t done = 0; isWritten && done < text.size();) {
        const ssize_t count = write(made, text.data() + done, text.size() - done);
        isWritten = count > 0;
        if (isWritten) done += static_cast<std::size_t>(count);
    }
    const int error = errno;
    if (made >= 0) close(made);
    if (!isWritten) throw Failure(kRefused, file + ": " + std::generic_category().message(error));
}

void print(const Session& session, const std::string& output) {
    const Json json = Json::parse(output, nullptr, false);
    if (json.is_discarded()) {
        std::fputs(output.c_str(), stdout);  // help
    } else if (session.json) {
        std::printf("%s\n", output.c_str());
    } else {
        std::fputs(readable(json).c_str(), stdout);
    }
    std::fflush(stdout);
}

/// @return whether it was one that this program does.
bool doHere(Session& session, const std::string& verb, const Json& arguments) {
    if (verb == "run") {
        runScenario(session, arguments);
    } else if (verb == "watch") {
        watch(session, arguments);
    } else if (verb == "wait") {
        std::this_thread::sleep_for(
            std::chrono::milliseconds(arguments.at("ms").get<std::int64_t>()));
    } else if (verb == "wait-for") {
        waitFor(session, arguments);
    } else if (verb == "completion") {
        printCompletion(session);
    } else {
        return false;
    }
    return true;
}

}  // namespace

std::string readInput(const std::string& file) {
    if (file == "-") return {std::istreambuf_iterator<char>(std::cin), {}};
    std::ifstream stream(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream || std::filesystem::is_directory(file)) {
        throw Failure(kRefused, file + ": cannot be read");
    }
    return text;
}

void doVerb(Session& session, const Words& given, const std::string* input) {
    Words words = given;
    const std::string loaded = takeFile(words, "load");
    const std::string saved = takeFile(words, "save");
    std::string read;
    if (input != nullptr) {
        read = *input;
    } else if (!loaded.empty()) {
        read = readInput(loaded);
    } else if (wantsInput(words)) {
        read = readInput("-");
    }
    if (read.find('\0') != std::string::npos) throw Failure(kRefused, "the input has a NUL in it");
    const Remote::Result result = session.remote.run(words, read);
    if (result.exitCode != kDone) throw Failure(static_cast<Exit>(result.exitCode), result.error);
    const Json output = Json::parse(result.output, nullptr, false);
    if (!output.is_discarded() && doHere(session, words.front(), output)) return;
    const bool isDocument = words == Words{"state", "save"};
    if (isDocument && !saved.empty() && saved != "-") {
        writeFile(saved, output.dump(2) + "\n");
        print(session, Json({{"saved", saved}}).dump());
    } else if (isDocument && !session.json) {
        std::printf("%s\n", output.dump(2).c_str());
    } else {
        print(session, result.output);
    }
}

}  // namespace ssoctl
