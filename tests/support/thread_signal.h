#ifndef SUPPORT_THREAD_SIGNAL_H_
#define SUPPORT_THREAD_SIGNAL_H_

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "sanitizer.h"

namespace support {

/// Far longer than anything takes: reached only when a test has failed. Less than a whole test has.
constexpr std::chrono::seconds kLongEnough{SSO_SANITIZED != 0 ? 20 : 8};

/// What one thread tells others, once.
class Signal {
  public:
    void give() {
        const std::lock_guard lock(m_mutex);
        m_given = true;
        m_changed.notify_all();
    }

    /// @return false when it was not given in time.
    [[nodiscard]] bool wait(std::chrono::milliseconds timeout = kLongEnough) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [this] { return m_given; });
    }

    bool given() const {
        const std::lock_guard lock(m_mutex);
        return m_given;
    }

  private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_given = false;
};

}  // namespace support

#endif
