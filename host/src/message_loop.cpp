#include "message_loop.h"

#include <algorithm>
#include <optional>

#include "ppapi/c/pp_errors.h"

namespace host {
namespace {

// Three years: far beyond any run, and it can be added to a clock without overflow.
constexpr std::int64_t kMaxDelay = 100'000'000'000;

}  // namespace

bool MessageLoop::attach() {
    const std::lock_guard lock(m_mutex);
    if (m_state != State::Unattached) return false;
    m_state = State::Attached;
    for (auto& [delay, task] : m_early) enqueue(std::move(task), delay);
    m_early.clear();
    return true;
}

bool MessageLoop::isAttached() const {
    const std::lock_guard lock(m_mutex);
    return m_state == State::Attached;
}

bool MessageLoop::isUnattached() const {
    const std::lock_guard lock(m_mutex);
    return m_state == State::Unattached;
}

void MessageLoop::enqueue(Task task, std::int64_t delay) {
    const std::chrono::milliseconds wait(std::clamp<std::int64_t>(delay, 0, kMaxDelay));
    m_queue.emplace(Clock::now() + wait, std::move(task));
    m_wake.notify_one();
}

MessageLoop::Queue MessageLoop::destroy() {
    m_state = State::Destroyed;
    return std::exchange(m_queue, {});
}

std::int32_t MessageLoop::run() {
    Queue undone;  // dies after the lock is released
    std::unique_lock lock(m_mutex);
    if (m_state != State::Attached) return PP_ERROR_FAILED;
    if (m_running) return PP_ERROR_INPROGRESS;
    m_running = true;
    for (;;) {
        if (!m_queue.empty() && m_queue.begin()->first <= Clock::now()) {
            std::optional<Task> task(std::move(m_queue.begin()->second));
            m_queue.erase(m_queue.begin());
            lock.unlock();
            (*task)();
            task.reset();
            lock.lock();
        } else if (m_quit) {
            break;
        } else if (m_queue.empty()) {
            m_wake.wait(lock);
        } else {
            const Clock::time_point due = m_queue.begin()->first;  // a copy: the queue may change
            m_wake.wait_until(lock, due);
        }
    }
    m_running = false;
    m_quit = false;
    if (m_destroyAfterRun) undone = destroy();
    return PP_OK;
}

bool MessageLoop::post(Task task, std::int64_t delay) {
    const std::lock_guard lock(m_mutex);
    if (m_state == State::Destroyed) return false;
    if (m_state == State::Attached) {
        enqueue(std::move(task), delay);
    } else {
        m_early.emplace_back(delay, std::move(task));
    }
    return true;
}

bool MessageLoop::postIfAttached(Task task) {
    const std::lock_guard lock(m_mutex);
    if (m_state != State::Attached) return false;
    enqueue(std::move(task), 0);
    return true;
}

void MessageLoop::postQuit(bool destroy) {
    const std::lock_guard lock(m_mutex);
    if (m_state == State::Destroyed) return;
    m_quit = true;
    m_destroyAfterRun = m_destroyAfterRun || destroy;
    m_wake.notify_one();
}

void MessageLoop::abandon() {
    Queue undone;
    const std::lock_guard lock(m_mutex);
    undone = destroy();
}

}  // namespace host
