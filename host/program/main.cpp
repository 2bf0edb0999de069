#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "command_line.h"
#include "embedder/environment.h"
#include "embedder/output_file.h"
#include "json_lines.h"
#include "player.h"

namespace {

/// @param what  one line or several.
void complain(const std::string& what) {
    std::istringstream lines(what);
    for (std::string line; std::getline(lines, line);) std::cerr << "sso-host: " + line + "\n";
}

/// Whether a line says nothing to do.
bool isComment(const std::string& line) {
    const std::size_t begin = line.find_first_not_of(" \t\r");
    return begin == std::string::npos || line[begin] == '#' || line.compare(begin, 2, "//") == 0;
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// Plays a page from the lines of standard input, until the input ends or nobody reads the output.
int playStandardInput(const CommandLine& commandLine) {
    JsonLines output(stdout);
    std::unique_ptr<std::FILE, CloseFile> file;
    std::optional<JsonLines> messageFile;
    JsonLines* messages = nullptr;
    if (commandLine.messages == "-") {
        messages = &output;
    } else if (!commandLine.messages.empty()) {
        file.reset(embedder::openOutputFile(commandLine.messages, "the messages"));
        messages = &messageFile.emplace(file.get());
    }

    Player player(commandLine, output, messages);
    std::string line;
    for (std::size_t number = 1; output.works() && std::getline(std::cin, line); ++number) {
        if (!isComment(line)) player.play(number, line);
    }
    if (output.works()) player.finish(commandLine.linger);
    const std::vector<std::string> problems = player.unload();

    bool failed = player.hadErrors();
    if (!output.works()) {
        complain("cannot write to standard output");
        failed = true;
    }
    if (messageFile && !messageFile->works()) {
        complain("the messages " + commandLine.messages + " cannot be written");
        failed = true;
    }
    for (const std::string& problem : problems) complain(problem);
    if (!problems.empty()) return kReferenceProblems;
    if (failed) return kRunFailed;
    if (!commandLine.strict || player.refusals() == 0) return kAllWell;
    complain("--strict: " + std::to_string(player.refusals()) +
             (player.refusals() == 1 ? " request was refused" : " requests were refused"));
    return kStrict;
}

int runProgram(int argc, char** argv) {
    const CommandLine commandLine = readCommandLine(argc, argv);
    const auto service = embedder::ServiceHold::get(commandLine.common);
    embedder::prepareEnvironment(commandLine.common, service);
    return playStandardInput(commandLine);
}

}  // namespace

int main(int argc, char** argv) {
    // Whoever reads the output may leave: end quietly, even if the parent ignores the signal.
    std::signal(SIGPIPE, SIG_DFL);
    std::ios::sync_with_stdio(false);
    try {
        return runProgram(argc, argv);
    } catch (const CommandLineEnd& end) {
        return end.exitCode;
    } catch (const std::exception& error) {
        complain(error.what());
        return embedder::kExitBadInput;
    }
}
