#ifndef HOST_PROGRAM_COMMAND_LINE_H_
#define HOST_PROGRAM_COMMAND_LINE_H_

#include <chrono>
#include <set>
#include <string>

/// The program's exit codes.
constexpr int kAllWell = 0;
constexpr int kLineErrors = 1;
constexpr int kCannotStart = 2;
constexpr int kReferenceProblems = 3;

/// What the command line asks for.
struct CommandLine {
    std::string modulePath;
    std::string applicationName = "sso-host";
    std::set<std::string> grants;  ///< full identifiers
    std::string accountFile;       ///< absolute, checked; empty for none
    bool extension = true;         ///< offer the vendor interface
    bool log = false;
    std::chrono::milliseconds linger{5000};
};

/// Thrown when there is nothing to do but to leave: help was shown, or what is wrong.
struct CommandLineEnd {
    int exitCode;
};

/// @throws CommandLineEnd  see there.
/// @throws runtime::ManifestError  for a manifest or privilege that cannot be used.
/// @throws account::AccountFileError  for an account file that cannot be used.
CommandLine readCommandLine(int argc, char** argv);

#endif
