#ifndef BROWSER_OPTIONS_H_
#define BROWSER_OPTIONS_H_

#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "embedder/options.h"
#include "src/console.h"
#include "src/dialogs.h"

namespace browser {

/// The command line, checked for form. Paths are as they were given, and empty when they were not.
struct Options {
    std::vector<std::string> targets;  ///< at least one: a URL, or the folder of an application
    embedder::Options common;
    std::filesystem::path screenshot;
    std::optional<double> quitAfter;             ///< seconds
    std::vector<std::filesystem::path> scripts;  ///< "-" for standard input
    bool stay = false;                           ///< also after the scripts
    std::optional<double> timeout;               ///< seconds; by default one minute with a script
    bool strict = false;
    std::optional<Dialogs> dialogs;
    Console::Form console = Console::Form::Text;
    bool panel = false;
    std::filesystem::path windowPictures;  ///< folder; empty for none
    std::filesystem::path profile;         ///< folder of what pages store
    std::optional<int> devtools;           ///< port of remote debugging; 0 for any
    int port = 0;      ///< of the server of a folder; 0 for any, behind a name of its own
    int width = 1280;  ///< pixels
    int height = 800;  ///< pixels
};

/// Whether somebody may look at the panel: what it tells is collected from the start.
inline bool hasPanel(const Options& options) { return options.panel || options.scripts.empty(); }

/// @return the options, or the exit code when there is nothing to run: after --help, which goes to
///         stdout, and after a mistake, of which one line goes to stderr.
/// @throws embedder::InputError  for a privilege or an account that cannot be used.
std::variant<Options, int> parseOptions(int argc, const char* const* argv);

}  // namespace browser

#endif
