#ifndef SUPPORT_FAILING_ALLOCATION_H_
#define SUPPORT_FAILING_ALLOCATION_H_

#include "sanitizer.h"

// For SetUp(): skips where allocations cannot be made to fail.
#define SSO_NEEDS_FAILING_ALLOCATION() \
    if (SSO_THREAD_SANITIZED != 0)     \
    GTEST_SKIP() << "the thread sanitizer of clang keeps operator new to itself"

namespace support {

/// From now on `operator new` throws std::bad_alloc, in all modules, whenever this says so. A program that calls it takes
/// its allocation over.
///
/// @param isToFail  called on the thread that asks for memory, at each time; it allocates nothing. nullptr: none fails.
void failAllocationsWhen(bool (*isToFail)());

}  // namespace support

#endif
