#ifndef SUPPORT_PROCESS_FILE_H_
#define SUPPORT_PROCESS_FILE_H_

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace support {

/// A file that /proc has of a process; what could be read of it when the process has gone, before or meanwhile.
inline std::string processFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();  // an iterator over the buffer would throw
    return text.str();
}

}  // namespace support

#endif
