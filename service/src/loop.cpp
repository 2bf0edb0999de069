#include "loop.h"

#include <csignal>
#include <system_error>
#include <utility>

namespace service {
namespace {

void check(int result, const char* what) {
    if (result < 0) throw std::system_error(-result, std::generic_category(), what);
}

}  // namespace

struct Timer::Work {
    std::function<void()> work;
};

Timer::Timer(Timer&& other) noexcept = default;
Timer& Timer::operator=(Timer&& other) noexcept = default;
Timer::~Timer() = default;

Loop::Loop() {
    sd_event* event = nullptr;
    check(sd_event_new(&event), "event loop");
    m_event.reset(event);
    sd_event_source* source = nullptr;
    check(sd_event_add_time(event, &source, CLOCK_MONOTONIC, 0, 1, &Loop::onTime, this), "timer");
    m_source.reset(source);
    schedule();
}

Loop::~Loop() = default;

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
    timer.m_work = std::make_shared<Timer::Work>(Timer::Work{std::move(work)});
    m_timers.emplace(Clock::now() + delay, timer.m_work);
    schedule();
    return timer;
}

void Loop::schedule() {
    if (m_timers.empty()) {
        check(sd_event_source_set_enabled(m_source.get(), SD_EVENT_OFF), "timer");
        return;
    }
    const auto due = std::chrono::duration_cast<std::chrono::microseconds>(
        m_timers.begin()->first.time_since_epoch());
    check(sd_event_source_set_time(m_source.get(), static_cast<std::uint64_t>(due.count()) + 1),
          "timer");
    check(sd_event_source_set_enabled(m_source.get(), SD_EVENT_ONESHOT), "timer");
}

int Loop::onTime(sd_event_source* /*source*/, std::uint64_t /*time*/, void* user) {
    Loop& loop = *static_cast<Loop*>(user);
    // What the work adds for now is for the next time, so that other events have their turn.
    const Clock::time_point now = Clock::now();
    while (!loop.m_timers.empty() && loop.m_timers.begin()->first <= now) {
        const std::weak_ptr<Timer::Work> next = loop.m_timers.begin()->second;
        loop.m_timers.erase(loop.m_timers.begin());
        // Held meanwhile: it may end the timer that it belongs to.
        if (const auto held = next.lock()) held->work();
    }
    loop.schedule();
    return 0;
}

void Loop::run() { check(sd_event_loop(m_event.get()), "event loop"); }

void Loop::end() { sd_event_exit(m_event.get(), 0); }

}  // namespace service
