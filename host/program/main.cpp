#include <csignal>
#include <exception>
#include <iostream>

#include "command_line.h"
#include "embedder/environment.h"
#include "json_lines.h"

namespace {

int runProgram(int argc, char** argv) {
    const CommandLine commandLine = readCommandLine(argc, argv);
    embedder::prepareEnvironment(commandLine.common);
    return playJsonLines(commandLine);
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
        std::cerr << "sso-host: " << error.what() << '\n';
        return embedder::kExitBadInput;
    }
}
