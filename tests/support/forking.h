#ifndef SUPPORT_FORKING_H_
#define SUPPORT_FORKING_H_

#include <string>
#include <vector>

// Whether the thread sanitizer is built in, which loses its way in a fork that starts threads.
#ifdef __SANITIZE_THREAD__
#define SSO_LOST_IN_FORKS 1
#else
#define SSO_LOST_IN_FORKS 0
#endif

namespace support {

/// For the environment of a program whose forks go on with threads of their own. The leak sanitizer takes for lost what
/// only the stacks of the parent's threads know of.
inline std::vector<std::string> forksMayRunOn() { return {"ASAN_OPTIONS=detect_leaks=0"}; }

}  // namespace support

#endif
