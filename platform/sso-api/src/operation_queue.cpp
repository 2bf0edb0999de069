#include "operation_queue.h"

#include <pthread.h>

#include <iterator>
#include <memory>
#include <new>
#include <utility>

namespace sso_api {
namespace {

// This thread's callbacks that run and have not called endAll().
thread_local int t_running = 0;

template <typename List>
auto at(List& list, size_t index) {
    const auto fromBegin = static_cast<std::ptrdiff_t>(index);
    const auto fromEnd = static_cast<std::ptrdiff_t>(list.size() - index);
    return fromBegin < fromEnd ? std::next(list.begin(), fromBegin)
                               : std::prev(list.end(), fromEnd);
}

}  // namespace

OperationQueue& OperationQueue::instance() {
    static OperationQueue queue;
    // Without memory for it, forks have operations that never end.
    static const int forkHandler =
        pthread_atfork([] { queue.m_mutex.lock(); }, [] { queue.m_mutex.unlock(); },
                       [] {
                           queue.beginAnew();
                           queue.m_mutex.unlock();
                       });
    static_cast<void>(forkHandler);
    return queue;
}

OperationQueue::~OperationQueue() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_sooner.notify_all();
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_thread.detach();  // a callback ends the process: it cannot wait for itself
    } else if (m_thread.joinable()) {
        m_thread.join();
    }
}

void OperationQueue::beginAnew() {
    m_operations.clear();
    m_schedule.clear();
    m_byId.clear();
    // Neither the threads that wait nor the queue's own are there.
    new (&m_sooner) std::condition_variable;
    new (&m_returned) std::condition_variable;
    new (&m_thread) std::thread;
    m_running = t_running;  // of the callback that forked, and returns in the child, too
}

std::optional<OperationQueue::Id> OperationQueue::start(
    std::optional<std::chrono::milliseconds> delay, Work work, Deliver deliver) {
    const std::lock_guard lock(m_mutex);
    if (m_ending > 0) {
        return std::nullopt;
    }
    if (!m_thread.joinable()) {
        m_thread = std::thread(&OperationQueue::run, this);
    }
    // Whatever throws does so before the operation is among the others.
    Operations started;
    const Id id = m_nextId++;
    started.push_back({id, std::move(work), std::move(deliver), m_schedule.end()});
    if (delay) {
        schedule(started.begin(), Clock::now() + *delay);
    } else {
        m_byId.emplace(id, started.begin());
    }
    m_operations.splice(m_operations.end(), started);
    return id;
}

void OperationQueue::schedule(Operations::iterator operation, Clock::time_point due) {
    operation->due = m_schedule.emplace(due, operation);
    if (operation->due == m_schedule.begin()) {
        m_sooner.notify_all();
    }
}

void OperationQueue::endLater(Id id, CallbackArguments arguments) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_byId.find(id);
    if (found == m_byId.end()) {
        return;
    }
    // Shared, as a function has to be copied.
    auto told = std::make_shared<CallbackArguments>(std::move(arguments));
    found->second->work = [told] { return std::move(*told); };
    schedule(found->second, Clock::now());
    m_byId.erase(found);
}

std::optional<int> OperationQueue::finish(size_t index, const CallbackArguments& arguments) {
    std::unique_lock lock(m_mutex);
    if (index >= m_operations.size()) {
        return std::nullopt;
    }
    return end(lock, at(m_operations, index), &arguments);
}

void OperationQueue::endAll(const CallbackArguments& arguments) {
    std::unique_lock lock(m_mutex);
    ++m_ending;
    const int own = std::exchange(t_running, 0);
    m_endingAll += own;
    while (!m_operations.empty()) {
        end(lock, m_operations.begin(), &arguments);
    }
    m_returned.wait(lock, [&] { return m_running == (own == 0 ? 0 : m_endingAll); });
    m_endingAll -= own;
    t_running = own;
    --m_ending;
}

size_t OperationQueue::outstanding() {
    const std::lock_guard lock(m_mutex);
    return m_operations.size();
}

int OperationQueue::end(std::unique_lock<std::mutex>& lock, Operations::iterator operation,
                        const CallbackArguments* arguments) {
    if (operation->due != m_schedule.end()) {
        m_schedule.erase(operation->due);
    } else {
        m_byId.erase(operation->id);
    }
    Operations taken;
    taken.splice(taken.begin(), m_operations, operation);
    ++m_running;
    ++t_running;
    lock.unlock();
    const int result = arguments != nullptr ? operation->deliver(*arguments)
                                            : operation->deliver(operation->work());
    lock.lock();
    --t_running;
    --m_running;
    if (m_ending > 0) {
        m_returned.notify_all();
    }
    return result;
}

void OperationQueue::run() {
    pthread_setname_np(pthread_self(), "sso-api");
    std::unique_lock lock(m_mutex);
    while (!m_stopping) {
        const auto next = m_schedule.begin();
        if (next == m_schedule.end()) {
            m_sooner.wait(lock);
        } else if (next->first > Clock::now()) {
            m_sooner.wait_until(lock, Clock::time_point(next->first));
        } else {
            end(lock, next->second, nullptr);
        }
    }
}

}  // namespace sso_api
