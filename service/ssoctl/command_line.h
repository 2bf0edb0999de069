#ifndef SSOCTL_COMMAND_LINE_H_
#define SSOCTL_COMMAND_LINE_H_

#include <stdexcept>
#include <string>
#include <vector>

namespace ssoctl {

enum Exit { kDone = 0, kRefused = 1, kWrongWords = 2, kUnreachable = 3, kInVain = 4 };

/// Something that ends the program, told in one line.
class Failure : public std::runtime_error {
  public:
    Failure(Exit exit, const std::string& what) : std::runtime_error(what), m_exit(exit) {}
    Exit exit() const { return m_exit; }

  private:
    Exit m_exit;
};

/// What was asked for on the command line.
struct CommandLine {
    std::string state = "default";
    bool json = false;
    bool version = false;
    std::vector<std::string> words;  ///< a verb and its arguments
};

/// Takes the program's own options out, wherever they are before a "--".
///
/// @throws Failure
CommandLine parseCommandLine(const std::vector<std::string>& words);

/// Splits a line of a scenario as a shell would: at blanks, but for those between quotes; # begins a comment.
///
/// @throws Failure  when a quote does not end.
std::vector<std::string> splitLine(const std::string& line);

}  // namespace ssoctl

#endif
