#ifndef SERVICE_LOOP_H_
#define SERVICE_LOOP_H_

#include <systemd/sd-event.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>

namespace service {

class Loop;

/// What is to be done later. Its end takes it back, unless it has been done. May outlive nothing of the loop.
class Timer {
  public:
    Timer() = default;
    Timer(Timer&& other) noexcept;
    Timer& operator=(Timer&& other) noexcept;
    ~Timer();

  private:
    friend class Loop;
    struct Work;
    std::shared_ptr<Work> m_work;
};

/// The service's event loop, on its only thread.
class Loop {
  public:
    Loop();
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    /// Ends run() at SIGINT, SIGTERM and SIGHUP.
    void endOnSignals();

    /// Does `work` once, not before this call returned. What is due at the same time is done in the order of these
    /// calls. It may end its own timer.
    Timer after(std::chrono::milliseconds delay, std::function<void()> work);
    void run();
    void end();

    sd_event* get() { return m_event.get(); }

  private:
    struct Unref {
        void operator()(sd_event* event) const { sd_event_unref(event); }
        void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
    };
    using Clock = std::chrono::steady_clock;

    static int onTime(sd_event_source* source, std::uint64_t time, void* loop);
    void schedule();

    std::unique_ptr<sd_event, Unref> m_event;
    std::unique_ptr<sd_event_source, Unref> m_source;
    // One source of the event loop for all, because it would end those that are due alike in any order.
    std::multimap<Clock::time_point, std::weak_ptr<Timer::Work>> m_timers;
};

}  // namespace service

#endif
