#ifndef SUPPLIERS_AT_ONCE_H_
#define SUPPLIERS_AT_ONCE_H_

#include <thread>
#include <vector>

namespace suppliers {

/// Runs `work(n)`, n from 0, on so many threads at once, and waits for them.
template <typename Work>
void atOnce(int threads, Work work) {
    std::vector<std::thread> all;
    for (int n = 0; n < threads; ++n) {
        all.emplace_back(work, n);
    }
    for (auto& thread : all) {
        thread.join();
    }
}

}  // namespace suppliers

#endif
