#ifndef SUPPORT_THREAD_TOOLS_H_
#define SUPPORT_THREAD_TOOLS_H_

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

namespace support {

/// Runs `work` on some threads at once, each with its number, from 0, and waits for them.
template <typename Work>
void onThreads(int count, Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back([&work, i] { work(i); });
    for (std::thread& thread : threads) thread.join();
}

/// Calls `one` on a thread of its own, at least once, until another thread has called `other` so many times.
template <typename One, typename Other>
void atTheSameTime(One one, int times, Other other) {
    // Relaxed: they must not order what the two do.
    std::atomic<int> started = 0;
    std::atomic<bool> isOver = false;
    onThreads(2, [&](int number) {
        started.fetch_add(1, std::memory_order_relaxed);
        while (started.load(std::memory_order_relaxed) < 2) std::this_thread::yield();
        if (number == 0) {
            do one();
            while (!isOver.load(std::memory_order_relaxed));
        } else {
            for (int i = 0; i < times; ++i) other();
            isOver.store(true, std::memory_order_relaxed);
        }
    });
}

/// As the kernel counts them.
inline pid_t thisThreadId() { return static_cast<pid_t>(syscall(SYS_gettid)); }

}  // namespace support

#endif
