#ifndef QUALIFICATION_CHILD_H_
#define QUALIFICATION_CHILD_H_

#include <string>
#include <vector>

/// Processes that may crash and hang, and that end when this program does, whatever ends it.
namespace qualification {

/// The first word of a child's command line, before what runChild() gets.
inline constexpr const char* kChildOption = "--child";

/// What a child can do, with the words that follow.
inline constexpr const char* kLoad = "load";        ///< the module: says "loaded", or why not
inline constexpr const char* kMissing = "missing";  ///< sonames: says which cannot be found
inline constexpr const char* kVersion = "version";  ///< the module: says its version
inline constexpr const char* kProgram = "program";  ///< becomes a program, with its arguments

/// The command of such a process. Call it on the thread that waits for the process: a process ends
/// with the thread that has started it.
std::vector<std::string> childCommand(const std::vector<std::string>& words);

/// The child's side. @return its exit code.
int runChild(const std::vector<std::string>& words);

}  // namespace qualification

#endif
