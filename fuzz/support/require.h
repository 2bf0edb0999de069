#ifndef FUZZ_SUPPORT_REQUIRE_H_
#define FUZZ_SUPPORT_REQUIRE_H_

#include <cstdlib>
#include <iostream>
#include <string>

namespace fuzz {

/// What has to be so whatever the input is. When it is not, the input is a find: the process ends.
///
/// @param promise  that was broken, as a sentence.
/// @param seen     what was there instead.
inline void require(bool isSo, const char* promise, const std::string& seen = "") {
    if (isSo) return;
    std::cerr << "broken: " << promise << (seen.empty() ? "" : "\n  seen: ") << seen << std::endl;
    std::abort();
}

}  // namespace fuzz

#endif
