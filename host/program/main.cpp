#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "command_line.h"
#include "session.h"

namespace {

int runProgram(int argc, char** argv) {
    const CommandLine commandLine = readCommandLine(argc, argv);
    // The development log service reads it once, when the module's first line is written.
    setenv("DLOG_LEVEL", commandLine.log ? "detail" : "silent", commandLine.log ? 1 : 0);
    // The development client library reads it with the first question about the account.
    if (!commandLine.accountFile.empty()) {
        setenv("SSO_ACCOUNT_FILE", commandLine.accountFile.c_str(), 1);
    }
    Session session(commandLine);
    return session.run(std::cin);
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
        return kCannotStart;
    }
}
