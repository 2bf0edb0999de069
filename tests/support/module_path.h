#ifndef SUPPORT_MODULE_PATH_H_
#define SUPPORT_MODULE_PATH_H_

#include <cstdlib>
#include <filesystem>
#include <string>

namespace support {

/// A program or library of the build tree that the test program is part of.
inline std::string builtPath(const std::string& relative) {
    const auto bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    return (bin.parent_path() / relative).string();
}

/// The plug-in under test: what SSO_TEST_MODULE names, or the one of this build tree.
inline std::string modulePath() {
    const char* other = std::getenv("SSO_TEST_MODULE");
    return other != nullptr && *other != '\0' ? other : builtPath("lib/libsso.so");
}

/// Where the symbols of the plug-in under test are when it is stripped; "" when they are in it.
inline std::string symbolsPath() {
    const char* symbols = std::getenv("SSO_TEST_SYMBOLS");
    return symbols != nullptr ? symbols : "";
}

/// Whether the plug-in under test is not that of this build tree.
inline bool moduleIsForeign() { return modulePath() != builtPath("lib/libsso.so"); }

}  // namespace support

#endif
