#ifndef SUPPORT_FORKING_H_
#define SUPPORT_FORKING_H_

#include <string>
#include <vector>

namespace support {

/// For the environment of a program whose forks go on with threads of their own. The leak sanitizer takes for lost what
/// only the stacks of the parent's threads know of.
inline std::vector<std::string> forksMayRunOn() { return {"ASAN_OPTIONS=detect_leaks=0"}; }

}  // namespace support

#endif
