#ifndef FAULTS_IN_A_CHILD_H_
#define FAULTS_IN_A_CHILD_H_

#include <functional>
#include <string>

namespace faults {

/// What became of a process.
struct Outcome {
    int status = -1;   ///< as waitpid() has it
    std::string said;  ///< on standard error
};

/// What the line begins with that tells an uncaught exception; its text follows.
constexpr const char* kEndedBy = "ended by: ";

/// Does something in a child of this process, with a minute to end in. An uncaught exception, on
/// whatever thread, ends it by SIGABRT, with one line that begins with kEndedBy; other threads may say more until it has ended.
///
/// @param act  returns the child's exit code.
/// @throws std::runtime_error  when there is no child to be had.
Outcome inAChild(const std::function<int()>& act);

}  // namespace faults

#endif
