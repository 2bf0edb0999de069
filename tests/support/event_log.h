#ifndef SUPPORT_EVENT_LOG_H_
#define SUPPORT_EVENT_LOG_H_

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "thread_signal.h"

namespace support {

/// What happened, in order, whichever thread it happened on.
class EventLog {
  public:
    void add(const std::string& event) {
        const std::lock_guard lock(m_mutex);
        m_events.push_back(event);
        m_changed.notify_all();
    }

    std::vector<std::string> all() const {
        const std::lock_guard lock(m_mutex);
        return m_events;
    }

    bool has(const std::string& event) const {
        const std::lock_guard lock(m_mutex);
        return contains(event);
    }

    /// @return false when the event did not come in time.
    [[nodiscard]] bool waitFor(const std::string& event) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, kLongEnough, [&] { return contains(event); });
    }

  private:
    bool contains(const std::string& event) const {
        return std::find(m_events.begin(), m_events.end(), event) != m_events.end();
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_events;
};

}  // namespace support

#endif
