#ifndef SUPPORT_ALLOCATION_COUNTER_H_
#define SUPPORT_ALLOCATION_COUNTER_H_

#include <cstddef>

namespace support {

/// The allocations of the calling thread so far, in all modules: also those of `operator new` and of
/// thread-local storage. A program that calls this takes its allocation over.
std::size_t allocations();

/// @return how many allocations `function` makes on this thread.
template <typename Function>
std::size_t allocationsOf(Function function) {
    const std::size_t before = allocations();
    function();
    return allocations() - before;
}

}  // namespace support

#endif
