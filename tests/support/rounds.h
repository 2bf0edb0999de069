#ifndef SUPPORT_ROUNDS_H_
#define SUPPORT_ROUNDS_H_

#include <cstdlib>

namespace support {

/// How often something that happens by chance is tried: SSO_TEST_ROUNDS, for those who have time.
inline int rounds(int usual) {
    const char* text = std::getenv("SSO_TEST_ROUNDS");
    return text != nullptr ? std::atoi(text) : usual;
}

}  // namespace support

#endif
