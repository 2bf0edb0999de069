#ifndef SSO_API_C_TEXT_H_
#define SSO_API_C_TEXT_H_

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace sso_api {

struct Free {
    void operator()(char* text) const { std::free(text); }
};

/// A text of its own for a C caller, who may write to it and releases it with free().
using CText = std::unique_ptr<char, Free>;

inline CText copyForC(const char* text) {
    CText copy(strdup(text));
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    return copy;
}

}  // namespace sso_api

#endif
