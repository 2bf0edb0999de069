#ifndef BROWSER_START_ERROR_H_
#define BROWSER_START_ERROR_H_

#include <stdexcept>
#include <string>

namespace browser {

// Exit codes of the program, beside 0 and 128 + the number of the signal that ended it.
inline constexpr int kExitFailed = 1;    ///< the page, its script or the display failed
inline constexpr int kExitBadInput = 2;  ///< nothing was started: a wrong command line or file

/// Why the browser does not start. what() is one line for a person.
class StartError : public std::runtime_error {
  public:
    StartError(int exitCode, const std::string& what)
        : std::runtime_error(what), m_exitCode(exitCode) {}
    int exitCode() const { return m_exitCode; }

  private:
    int m_exitCode;
};

}  // namespace browser

#endif
