#ifndef BASE_OBSERVER_H_
#define BASE_OBSERVER_H_

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>

namespace base {

/// A C function that is told of something, and its last argument. There is one, or none. Any thread.
/// As a static object it needs no code to run at load, and is there until the process ends.
template <typename Function>
class Observer {
  public:
    /// Puts `function` in the place of the former one, no call of which is running any more when
    /// this returns; null for none. Not from inside the observer: it would wait for itself.
    void set(Function function, void* user) {
        const std::lock_guard alone(m_setting);
        const std::lock_guard lock(m_mutex);
        const std::size_t& running = m_running[m_turn];
        m_turn = 1 - m_turn;
        m_function = function;
        m_user = user;
        m_isSet.store(function != nullptr, std::memory_order_relaxed);
        while (running != 0) {
            pthread_cond_wait(&m_lastEnded, m_mutex.native_handle());
        }
    }

    bool isSet() const { return m_isSet.load(std::memory_order_relaxed); }

    /// Calls the observer on this thread, beside others that may be calling it; also from inside the
    /// observer.
    ///
    /// @return whether there is one.
    template <typename... Arguments>
    bool tell(Arguments... arguments) {
        if (!isSet()) {
            return false;
        }
        const Call call(*this);
        if (call.m_function == nullptr) {
            return false;
        }
        // Without the lock, so that a slow observer holds up no other thread.
        call.m_function(arguments..., call.m_user);
        return true;
    }

  private:
    /// Counts as running while it exists.
    class Call {
      public:
        explicit Call(Observer& observer) : m_observer(observer) {
            const std::lock_guard lock(observer.m_mutex);
            m_function = observer.m_function;
            m_user = observer.m_user;
            m_running = &observer.m_running[observer.m_turn];
            ++*m_running;
        }
        ~Call() {
            const std::lock_guard lock(m_observer.m_mutex);
            if (--*m_running == 0) {
                pthread_cond_signal(&m_observer.m_lastEnded);
            }
        }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

        Function m_function;
        void* m_user;

      private:
        Observer& m_observer;
        std::size_t* m_running;
    };

    std::atomic<bool> m_isSet = false;  ///< spares those who have nothing to tell the lock
    std::mutex m_setting;               ///< held until the former one has ended
    std::mutex m_mutex;                 ///< of what follows
    Function m_function = nullptr;
    void* m_user = nullptr;
    /// Calls of the function that is set, at m_turn, and of the former one.
    std::array<std::size_t, 2> m_running{};
    std::size_t m_turn = 0;
    /// Not the standard library's, which has a constructor and a destructor that run.
    pthread_cond_t m_lastEnded = PTHREAD_COND_INITIALIZER;
};

}  // namespace base

#endif
