#include "password.h"

#include <sodium.h>

#include <array>
#include <new>
#include <string_view>

namespace service {

std::string hashPassword(const std::string& password) {
    if (sodium_init() < 0) throw std::bad_alloc();
    std::array<char, crypto_pwhash_STRBYTES> hash{};
    if (crypto_pwhash_str_alg(
            hash.data(), password.data(), password.size(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
            crypto_pwhash_MEMLIMIT_INTERACTIVE, crypto_pwhash_ALG_ARGON2ID13) != 0) {
        throw std::bad_alloc();
    }
    return hash.data();
}

bool isPassword(const std::string& kept, const std::string& password) {
    static const std::string nobodys = hashPassword("");
    const std::string& compared = isHash(kept) ? kept : nobodys;
    const bool isRight =
        crypto_pwhash_str_verify(compared.c_str(), password.data(), password.size()) == 0;
    return isRight && isHash(kept);
}

bool isHash(const std::string& text) {
    constexpr std::string_view kStart = crypto_pwhash_STRPREFIX;
    return text.compare(0, kStart.size(), kStart) == 0 && text.size() < crypto_pwhash_STRBYTES;
}

}  // namespace service
