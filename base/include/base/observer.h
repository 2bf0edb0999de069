#ifndef BASE_OBSERVER_H_
#define BASE_OBSERVER_H_

#include <atomic>
#include <mutex>
#include <shared_mutex>

namespace base {

/// A C function that is told of something, and its last argument. There is one, or none. Any thread.
template <typename Function>
class Observer {
  public:
    /// Puts `function` in the place of the former one, no call of which is running any more when
    /// this returns; null for none. Not from inside the observer: it would wait for itself.
    void set(Function function, void* user) {
        const std::unique_lock lock(m_mutex);
        m_function = function;
        m_user = user;
        m_isSet.store(function != nullptr, std::memory_order_relaxed);
    }

    bool isSet() const { return m_isSet.load(std::memory_order_relaxed); }

    /// Calls the observer on this thread, beside others that may be calling it.
    ///
    /// @return whether there is one.
    template <typename... Arguments>
    bool tell(Arguments... arguments) {
        // Shared, so that a slow observer holds up no other thread.
        const std::shared_lock lock(m_mutex);
        if (m_function == nullptr) {
            return false;
        }
        m_function(arguments..., m_user);
        return true;
    }

  private:
    std::atomic<bool> m_isSet = false;  ///< spares those who have nothing to tell the lock
    std::shared_mutex m_mutex;
    Function m_function = nullptr;
    void* m_user = nullptr;
};

}  // namespace base

#endif
