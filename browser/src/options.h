#ifndef BROWSER_OPTIONS_H_
#define BROWSER_OPTIONS_H_

#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace browser {

/// The command line, checked for form. Paths are as they were given, and empty when they were not.
struct Options {
    std::string target;  ///< a URL, or the folder of an application
    std::filesystem::path module;
    std::vector<std::string> grants;
    std::filesystem::path manifest;
    std::filesystem::path account;
    bool log = false;
    std::filesystem::path screenshot;
    std::optional<double> quitAfter;  ///< seconds
    std::filesystem::path script;
    int width = 0;   ///< pixels
    int height = 0;  ///< pixels
};

/// @return the options, or the exit code when there is nothing to run: after --help, which goes to
///         stdout, and after a mistake, of which one line goes to stderr.
std::variant<Options, int> parseOptions(int argc, const char* const* argv);

/// The folder that holds this program.
std::filesystem::path programFolder();

}  // namespace browser

#endif
