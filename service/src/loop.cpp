#include "loop.h"

#include <csignal>
#include <system_error>
#include <utility>

namespace service {
namespace {

void check(int result, const char* what) {
    if (result < 0) throw std::system_error(-result, std::generic_category(), what);
}

int onTime(sd_event_source* /*source*/, std::uint64_t /*time*/, void* user) {
    // A copy: the work may end the timer that holds it.
    const auto work = *static_cast<std::function<void()>*>(user);
    work();
    return 0;
}

}  // namespace

Loop::Loop() {
    sd_event* event = nullptr;
    check(sd_event_new(&event), "event loop");
    m_event.reset(event);
}

void Loop::endOnSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        check(sd_event_add_signal(m_event.get(), nullptr, signal, nullptr, nullptr), "signal");
    }
}

Timer Loop::after(std::chrono::milliseconds delay, std::function<void()> work) {
    Timer timer;
    timer.m_work = std::make_unique<std::function<void()>>(std::move(work));
    sd_event_source* source = nullptr;
    const auto microseconds = std::chrono::microseconds(delay).count();
    check(sd_event_add_time_relative(m_event.get(), &source, CLOCK_MONOTONIC,
                                     static_cast<std::uint64_t>(microseconds), 1000, &onTime,
                                     timer.m_work.get()),
          "timer");
    timer.m_source.reset(source);
    return timer;
}

void Loop::run() { check(sd_event_loop(m_event.get()), "event loop"); }

void Loop::end() { sd_event_exit(m_event.get(), 0); }

}  // namespace service
