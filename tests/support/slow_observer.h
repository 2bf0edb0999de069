#ifndef SUPPORT_SLOW_OBSERVER_H_
#define SUPPORT_SLOW_OBSERVER_H_

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include "thread_signal.h"

namespace support {

/// An observer whose call takes until it is let go.
class SlowObserver {
  public:
    /// The observer's function calls this.
    void run() {
        m_running.give();
        EXPECT_TRUE(m_mayEnd.wait());
        m_ended.give();
    }

    /// Expects that an observer which is running is not taken away before it has ended.
    ///
    /// @param tell    makes the observer be called, on this thread.
    /// @param remove  takes it away.
    void expectRemovalToWait(const std::function<void()>& tell,
                             const std::function<void()>& remove) {
        Signal removed;
        std::thread teller(tell);
        EXPECT_TRUE(m_running.wait());
        std::thread remover([&] {
            remove();
            EXPECT_TRUE(m_ended.given());
            removed.give();
        });
        EXPECT_FALSE(removed.wait(std::chrono::milliseconds(50)));
        m_mayEnd.give();
        remover.join();
        teller.join();
    }

  private:
    Signal m_running;
    Signal m_mayEnd;
    Signal m_ended;
};

}  // namespace support

#endif
