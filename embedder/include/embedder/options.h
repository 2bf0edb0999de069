#ifndef EMBEDDER_OPTIONS_H_
#define EMBEDDER_OPTIONS_H_

#include <CLI/App.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "embedder/input_error.h"

namespace embedder {

/// What the options ask for that every program has.
struct Options {
    std::string module;            ///< path of the plug-in
    std::set<std::string> grants;  ///< full identifiers
    std::string manifest;          ///< path; empty for none
    std::string account;           ///< absolute path of a good account file; empty for none
    std::string state;             ///< of the account service; empty for none
    std::string messages;          ///< path; "-" for standard output, empty for none
    bool pseudonyms = false;       ///< in messages
    bool log = false;
};

/// The options --module, --grant, --manifest, --account, --state, --messages, --pseudonyms, --log and --version
/// of a command line.
class CommonOptions {
  public:
    /// Declares them. The object must live until `app` has parsed.
    ///
    /// @param manifest  what the program does with --manifest, for its help.
    CommonOptions(CLI::App& app, const std::string& manifest);
    CommonOptions(const CommonOptions&) = delete;
    CommonOptions& operator=(const CommonOptions&) = delete;

    /// What was given, once `app` has parsed.
    ///
    /// @throws InputError  for a privilege that nobody knows, a file that is no account, a text that is
    ///                     no state's name, and pseudonyms on standard output.
    Options read() const;

  private:
    Options m_options;
    std::vector<std::string> m_grants;
};

/// Parses a command line. Help and version go to standard output; of a mistake one line, that begins with the
/// program's name, to standard error.
///
/// @return the exit code when there is nothing to run: 0 after those, kExitBadInput after a mistake.
std::optional<int> parseCommandLine(CLI::App& app, int argc, const char* const* argv);

}  // namespace embedder

#endif
