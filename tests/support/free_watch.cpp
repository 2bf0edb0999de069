#include "free_watch.h"

#include <array>
#include <atomic>
#include <cstdlib>

#include "sanitizer.h"

namespace support {
namespace {

// No lock and no allocation where nothing is watched: free() is called anywhere.
struct Watch {
    std::atomic<const void*> block{nullptr};
    std::atomic<FreeObserver> observer{nullptr};
    std::atomic<void*> user{nullptr};
};
std::array<Watch, 16> g_watches;

void released(const void* block) {
    if (block == nullptr) return;
    for (Watch& watch : g_watches) {
        if (watch.block.load() != block) continue;
        // Read before the place is free for another block.
        const FreeObserver observer = watch.observer.load();
        void* const user = watch.user.load();
        const void* expected = block;
        if (watch.block.compare_exchange_strong(expected, nullptr)) {
            observer(block, user);
            return;
        }
    }
}

}  // namespace

void watchFree(const void* block, FreeObserver observer, void* user) {
    for (Watch& watch : g_watches) {
        if (watch.block.load() != nullptr) continue;
        watch.observer = observer;
        watch.user = user;
        watch.block = block;
        return;
    }
    std::abort();
}

std::size_t watchedBlocks() {
    std::size_t count = 0;
    for (const Watch& watch : g_watches) count += watch.block.load() != nullptr ? 1 : 0;
    return count;
}

void forgetWatchedBlocks() {
    for (Watch& watch : g_watches) watch.block = nullptr;
}

}  // namespace support

#if SSO_SANITIZED

namespace {
const int kInstalled = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) {},
    [](const volatile void* block) { support::released(const_cast<const void*>(block)); });
}

#else

// NOLINTNEXTLINE(bugprone-reserved-identifier): the C library's
extern "C" void __libc_free(void* block);
// The program's own definition comes before the C library's, for all modules that can see it.
extern "C" [[gnu::visibility("default")]] void free(void* block) noexcept {
    support::released(block);
    __libc_free(block);
}

#endif
