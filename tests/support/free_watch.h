#ifndef SUPPORT_FREE_WATCH_H_
#define SUPPORT_FREE_WATCH_H_

#include <cstddef>

namespace support {

/// Watches the process's calls of free(). A program that links this file has all its modules watched,
/// also those that it opens later. Any thread.

/// Called before a watched block is released, on the thread that does so.
using FreeObserver = void (*)(const void* block, void* user);

/// Tells `observer` when `block` is released, once. There is room for 16 blocks at a time; more than
/// that ends the process.
void watchFree(const void* block, FreeObserver observer, void* user);

/// Watched blocks that have not been released.
std::size_t watchedBlocks();

/// Watches none of them any more.
void forgetWatchedBlocks();

}  // namespace support

#endif
