#ifndef SUPPORT_GATE_H_
#define SUPPORT_GATE_H_

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace support {

/// Closed until it is opened, for good. Any thread.
class Gate {
  public:
    /// A second call does nothing.
    void open() {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_opened.notify_all();
    }

    /// Waits until it is open, but not longer than any healthy run would need: a failing test fails
    /// and does not hang.
    void wait() {
        std::unique_lock lock(m_mutex);
        m_opened.wait_for(lock, std::chrono::seconds(30), [this] { return m_open; });
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_opened;
    bool m_open = false;
};

}  // namespace support

#endif
