#ifndef BENCH_WORK_QUEUE_H_
#define BENCH_WORK_QUEUE_H_

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace bench {

/// What one thread does for others, in order: a message loop.
class WorkQueue {
  public:
    using Work = std::function<void()>;

    /// On the thread that does the work; until quit().
    void run() {
        std::vector<Work> taken;
        for (bool isOver = false; !isOver;) {
            {
                std::unique_lock lock(m_mutex);
                m_changed.wait(lock, [this] { return m_isOver || !m_work.empty(); });
                isOver = m_isOver;
                taken.swap(m_work);
            }
            for (const Work& work : taken) work();
            taken.clear();
        }
    }

    void add(Work work) {
        const std::lock_guard lock(m_mutex);
        m_work.push_back(std::move(work));
        if (m_work.size() == 1) m_changed.notify_one();
    }

    /// @param work  has ended when this returns.
    template <typename Function>
    void runAndWait(const Function& work) {
        std::mutex mutex;
        std::condition_variable ended;
        bool hasEnded = false;
        add([&] {
            work();
            const std::lock_guard lock(mutex);
            hasEnded = true;
            ended.notify_one();
        });
        std::unique_lock lock(mutex);
        ended.wait(lock, [&] { return hasEnded; });
    }

    void quit() {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
        m_changed.notify_one();
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Work> m_work;
    bool m_isOver = false;
};

/// How many answers have come, and who waits for them. One thread waits.
class AnswerCount {
  public:
    void add() {
        const std::lock_guard lock(m_mutex);
        if (++m_count == m_wanted) m_reached.notify_one();
    }

    std::size_t count() {
        const std::lock_guard lock(m_mutex);
        return m_count;
    }

    void wait(std::size_t count) {
        std::unique_lock lock(m_mutex);
        m_wanted = count;
        m_reached.wait(lock, [&] { return m_count >= count; });
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_reached;
    std::size_t m_count = 0;
    std::size_t m_wanted = 0;
};

}  // namespace bench

#endif
