#include "allocation_counter.h"

#include "sanitizer.h"

namespace {

thread_local std::size_t t_allocations;

}  // namespace

namespace support {

std::size_t allocations() { return t_allocations; }

}  // namespace support

#if SSO_SANITIZED

namespace {

const int g_hooks = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) { ++t_allocations; }, [](const volatile void*) {});

}  // namespace

#else

// Seen by the libraries, too.
#pragma GCC visibility push(default)
extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier): the C library's
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
// NOLINTEND(bugprone-reserved-identifier)

void* malloc(std::size_t size) {
    ++t_allocations;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    ++t_allocations;
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) {
    ++t_allocations;
    return __libc_realloc(memory, size);
}

void* memalign(std::size_t alignment, std::size_t size) {
    ++t_allocations;
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }

}  // extern "C"
#pragma GCC visibility pop

#endif
