#ifndef QUALIFICATION_VERDICT_H_
#define QUALIFICATION_VERDICT_H_

#include <stdexcept>
#include <string>

/// How a qualification can end.
namespace qualification {

/// The program's exit codes; --help and tests/README.md list them.
enum class Verdict {
    Passes = 0,
    Fails = 1,     ///< at least one test fails, crashes, hangs or is not run
    NotAsked = 2,  ///< a mistake on the command line, or tools that are missing
    NoModule = 10,
    OtherArchitecture = 11,
    LibrariesMissing = 12,
    CrashesAtLoad = 13,
    HangsAtLoad = 14,
    OtherOrigin = 15,
};

/// The module is not worth a test. what() says why, and goes on from the module's name.
class Refusal : public std::runtime_error {
  public:
    Refusal(Verdict verdict, const std::string& reason)
        : std::runtime_error(reason), m_verdict(verdict) {}
    Verdict verdict() const { return m_verdict; }

  private:
    Verdict m_verdict;
};

}  // namespace qualification

#endif
