#ifndef SUPPORT_FORKING_H_
#define SUPPORT_FORKING_H_

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "sanitizer.h"

namespace support {

/// For the environment of a program whose forks go on with threads of their own. The leak sanitizer takes for lost what
/// only the stacks of the parent's threads know of.
inline std::vector<std::string> forksMayRunOn() { return {"ASAN_OPTIONS=detect_leaks=0"}; }

/// @return whether each thread of the process but the calling one sleeps.
inline bool otherThreadsSleep() {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        if (task.path().filename() == std::to_string(gettid())) continue;
        std::string line;  // "4711 (name) S ..."
        std::getline(std::ifstream(task.path() / "stat"), line);
        const std::string::size_type name = line.rfind(") ");
        if (name != std::string::npos && line.compare(name + 2, 1, "S") != 0) return false;
    }
    return true;
}

/// For the moment before a fork whose child allocates. With a sanitizer, waits until all other threads sleep: its
/// allocator would stay locked in the child if one of them was in it, which the C library's does not. Without, returns
/// at once.
inline void awaitForkableAllocator() {
    while (SSO_SANITIZED != 0 && !otherThreadsSleep()) usleep(1000);
}

}  // namespace support

#endif
