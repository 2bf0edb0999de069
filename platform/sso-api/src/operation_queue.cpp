#include "operation_queue.h"

#include <pthread.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace sso_api {
namespace {

// How many of this thread's callbacks are counted in m_running.
thread_local int t_counted = 0;

}  // namespace

OperationQueue& OperationQueue::instance() {
    static OperationQueue queue;
    return queue;
}

OperationQueue::~OperationQueue() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_thread.detach();  // a callback ends the process: it cannot wait for itself
    } else if (m_thread.joinable()) {
        m_thread.join();
    }
}

bool OperationQueue::start(std::optional<std::chrono::milliseconds> delay, const Outcome& outcome,
                           Deliver deliver) {
    const std::lock_guard lock(m_mutex);
    if (m_ending > 0) {
        return false;
    }
    if (!m_thread.joinable()) {
        m_thread = std::thread(&OperationQueue::work, this);
    }
    const auto due = delay ? Clock::now() + *delay : Clock::time_point::max();
    m_operations.push_back({due, outcome, std::move(deliver)});
    m_changed.notify_all();
    return true;
}

std::optional<int> OperationQueue::finish(size_t index, const Outcome& outcome) {
    std::unique_lock lock(m_mutex);
    if (index >= m_operations.size()) {
        return std::nullopt;
    }
    return deliver(lock, std::next(m_operations.begin(), static_cast<std::ptrdiff_t>(index)),
                   outcome);
}

void OperationQueue::endAll(const Outcome& outcome) {
    std::unique_lock lock(m_mutex);
    ++m_ending;
    const int own = std::exchange(t_counted, 0);
    m_running -= own;
    m_changed.notify_all();
    while (!m_operations.empty()) {
        deliver(lock, m_operations.begin(), outcome);
    }
    m_changed.wait(lock, [this] { return m_running == 0; });
    m_running += own;
    t_counted = own;
    --m_ending;
}

size_t OperationQueue::outstanding() {
    const std::lock_guard lock(m_mutex);
    return m_operations.size();
}

int OperationQueue::deliver(std::unique_lock<std::mutex>& lock, Operations::iterator operation,
                            const Outcome& outcome) {
    Operations taken;
    taken.splice(taken.begin(), m_operations, operation);
    ++m_running;
    ++t_counted;
    lock.unlock();
    const int result = taken.front().deliver(outcome);
    lock.lock();
    --t_counted;
    --m_running;
    m_changed.notify_all();
    return result;
}

void OperationQueue::work() {
    pthread_setname_np(pthread_self(), "sso-api");
    std::unique_lock lock(m_mutex);
    while (!m_stopping) {
        // Of two that are due at the same time the older one is first.
        const auto next = std::min_element(
            m_operations.begin(), m_operations.end(),
            [](const Operation& one, const Operation& other) { return one.due < other.due; });
        if (next == m_operations.end() || next->due == Clock::time_point::max()) {
            m_changed.wait(lock);
        } else if (next->due > Clock::now()) {
            m_changed.wait_until(lock, Clock::time_point(next->due));
        } else {
            const Outcome outcome = next->outcome;
            deliver(lock, next, outcome);
        }
    }
}

}  // namespace sso_api
