#ifndef SERVICE_LOOP_H_
#define SERVICE_LOOP_H_

#include <systemd/sd-event.h>

#include <chrono>
#include <functional>
#include <memory>

namespace service {

/// What is to be done later. Its end takes it back, unless it has been done.
class Timer {
  public:
    Timer() = default;
    explicit operator bool() const { return m_source != nullptr; }

  private:
    friend class Loop;
    struct Unref {
        void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
    };
    std::unique_ptr<std::function<void()>> m_work;
    std::unique_ptr<sd_event_source, Unref> m_source;
};

/// The service's event loop, on its only thread.
class Loop {
  public:
    Loop();
    /// Ends run() at these.
    void endOnSignals();

    /// Does `work` once, not before this call returned. It may end its own timer.
    Timer after(std::chrono::milliseconds delay, std::function<void()> work);
    void run();
    void end();

    sd_event* get() { return m_event.get(); }

  private:
    struct Unref {
        void operator()(sd_event* event) const { sd_event_unref(event); }
    };
    std::unique_ptr<sd_event, Unref> m_event;
};

}  // namespace service

#endif
