#ifndef CALL_TRACE_OBSERVER_H_
#define CALL_TRACE_OBSERVER_H_

#include <atomic>
#include <mutex>
#include <shared_mutex>

namespace call_trace {

/// A function that tests want to be called, and its last argument.
template <typename Function>
class Observer {
  public:
    /// Returns once no call of the former function is running.
    void set(Function function, void* user) {
        const std::unique_lock lock(m_mutex);
        m_function = function;
        m_user = user;
        m_isSet.store(function != nullptr, std::memory_order_relaxed);
    }

    bool isSet() const { return m_isSet.load(std::memory_order_relaxed); }

    template <typename... Arguments>
    void tell(Arguments... arguments) {
        const std::shared_lock lock(m_mutex);
        if (m_function != nullptr) {
            m_function(arguments..., m_user);
        }
    }

  private:
    std::atomic<bool> m_isSet = false;  ///< spares those who have nothing to tell the lock
    std::shared_mutex m_mutex;
    Function m_function = nullptr;
    void* m_user = nullptr;
};

}  // namespace call_trace

#endif
