#ifndef SUPPORT_THREAD_TOOLS_H_
#define SUPPORT_THREAD_TOOLS_H_

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

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

/// Does two things at once, each on a thread of its own, and so many times.
template <typename One, typename Other>
void atTheSameTime(int times, One one, Other other) {
    onThreads(2, [&](int number) {
        for (int i = 0; i < times; ++i) number == 0 ? one() : other();
    });
}

/// As the kernel counts them.
inline pid_t thisThreadId() { return static_cast<pid_t>(syscall(SYS_gettid)); }

}  // namespace support

#endif
