#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "ht.h"

std::string ht::TSDemangler::Demangle(const char* typeName) {
    constexpr int kNoMemory = -1;
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(typeName, nullptr, nullptr, &status), &std::free);
    if (status == kNoMemory) {
        throw std::bad_alloc();
    }
    return text != nullptr ? text.get() : typeName;
}
