// A scope that is not traced takes no memory, whatever thread it is on.

#include <cstddef>
#include <cstdlib>
#include <thread>

#include "call_trace_fixture.h"

namespace {

thread_local std::size_t t_allocations;

}  // namespace

// Every allocation counts, that of `operator new` and of the thread-local storage included.
#ifdef SSO_SANITIZED  // the sanitizer has taken the allocation over, and tells of it

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*,
                                                                           std::size_t),
                                                         void (*released)(const volatile void*));

namespace {

const int g_hooks = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) { ++t_allocations; }, [](const volatile void*) {});

}  // namespace

#else

#pragma GCC visibility push(default)  // for the libraries, too
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

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

namespace {

using call_trace_test::Scope;
using call_trace_test::TheTracingService;

class Memory : public TheTracingService {
  protected:
    /// The allocations of a traced function that calls another one, on this thread.
    std::size_t ofTwoScopes() const {
        const std::size_t before = t_allocations;
        {
            Scope outer(m_outer, "outer");
            Scope inner(m_inner, "inner");
        }
        return t_allocations - before;
    }
};

TEST_F(Memory, IsNotTakenByUntracedScopes) { EXPECT_EQ(ofTwoScopes(), 0U); }

TEST_F(Memory, IsNotTakenByUntracedScopesOfANewThread) {
    std::size_t taken = 77;
    std::thread([&] { taken = ofTwoScopes(); }).join();
    EXPECT_EQ(taken, 0U);
}

TEST_F(Memory, IsNotTakenByScopesOnceTheyAreNotTracedAnyMore) {
    ht_control_set_enabled(1);
    ofTwoScopes();
    ht_control_set_enabled(0);
    EXPECT_EQ(ofTwoScopes(), 0U);
}

// The twin of those above: without it they could pass because nothing is counted.
TEST_F(Memory, IsTakenByTracedScopes) {
    ht_control_set_enabled(1);
    EXPECT_GE(ofTwoScopes(), 2U);
}

}  // namespace
