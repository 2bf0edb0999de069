#include "random_id.h"

#include <sodium.h>

#include <array>
#include <new>

namespace service {

std::string randomId(const char* start) {
    std::array<unsigned char, 16> bytes{};
    std::array<char, 2 * bytes.size() + 1> hex{};
    if (sodium_init() < 0) throw std::bad_alloc();
    randombytes_buf(bytes.data(), bytes.size());
    return start + std::string(sodium_bin2hex(hex.data(), hex.size(), bytes.data(), bytes.size()));
}

}  // namespace service
