#include "failing_allocation.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool (*)()> g_isToFail = nullptr;

}  // namespace

namespace support {

void failAllocationsWhen(bool (*isToFail)()) { g_isToFail = isToFail; }

}  // namespace support

#if !SSO_THREAD_SANITIZED
// Seen by the libraries, too. Not inlined: the compiler would think that free() gets what its own allocation gave.
#pragma GCC visibility push(default)
[[gnu::noinline]] void* operator new(std::size_t size) {
    bool (*const isToFail)() = g_isToFail;
    void* const memory = isToFail != nullptr && isToFail() ? nullptr : std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
#pragma GCC visibility pop
#endif
