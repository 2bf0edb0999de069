#ifndef HOST_PROGRAM_COMMAND_LINE_H_
#define HOST_PROGRAM_COMMAND_LINE_H_

#include <chrono>
#include <optional>
#include <set>
#include <string>

#include "embedder/options.h"
#include "embedder/vendor_table.h"

/// The program's exit codes, beside embedder::kExitBadInput for a run that did not start.
constexpr int kAllWell = 0;
constexpr int kRunFailed = 1;
constexpr int kReferenceProblems = 3;
constexpr int kStrict = 4;

/// What the command line asks for.
struct CommandLine {
    embedder::Options common;
    /// That the instances run in; nothing: the vendor interface is not offered.
    std::optional<embedder::Application> application;
    std::chrono::milliseconds linger{5000};
    std::chrono::milliseconds moduleTimeout{30000};
    std::string replay;  ///< path of a recording to play; empty for standard input
    bool strict = false;
};

/// Thrown when there is nothing to do but to leave: help was shown, or what is wrong.
struct CommandLineEnd {
    int exitCode;
};

/// @throws CommandLineEnd  see there.
/// @throws embedder::InputError  for a manifest, a privilege or an account that cannot be used.
CommandLine readCommandLine(int argc, char** argv);

/// The application that a manifest describes, or a nameless one without a manifest, with more grants.
///
/// @param manifest  path, or empty.
/// @param grants    full identifiers.
/// @throws embedder::InputError  for a manifest that cannot be used.
embedder::Application applicationOf(const std::string& manifest,
                                    const std::set<std::string>& grants);

#endif
