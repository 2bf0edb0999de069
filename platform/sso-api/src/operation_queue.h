#ifndef SSO_API_OPERATION_QUEUE_H_
#define SSO_API_OPERATION_QUEUE_H_

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

#include "callback_arguments.h"

namespace sso_api {

/// The outstanding operations of the process. Each delivers its callback's arguments exactly once: on the queue's own
/// thread when it is due, or earlier on the thread that ends it. No lock is held meanwhile. The
/// thread is started with the first operation, because the library may be loaded in a process that
/// forks. Of a process that forks later, the child begins with none. Any thread.
class OperationQueue {
  public:
    /// What an operation does when it ends by itself; gives what its callback is told. May not
    /// throw.
    using Work = std::function<CallbackArguments()>;
    /// Calls the operation's callback; gives what it returned.
    using Deliver = std::function<int(const CallbackArguments&)>;
    /// Names an operation; none has the name of an earlier one.
    using Id = std::uint64_t;

    OperationQueue() = default;
    /// Drops what is outstanding: the process ends, or the library is unloaded.
    ~OperationQueue();
    OperationQueue(const OperationQueue&) = delete;
    OperationQueue& operator=(const OperationQueue&) = delete;

    /// The queue of the process.
    static OperationQueue& instance();

    /// Operations that are due at the same time end in the order of their starts.
    ///
    /// @param delay  until the operation ends by itself; none: it waits for finish() or endAll().
    /// @return its name; nothing while endAll() runs, and then nothing was started.
    std::optional<Id> start(std::optional<std::chrono::milliseconds> delay, Work work,
                            Deliver deliver);

    /// Lets an operation that was started without a delay end now, on the queue's thread. Nothing when it
    /// has ended.
    void endLater(Id id, CallbackArguments arguments);

    /// Delivers `arguments` for the operation that was started as number `index` of the outstanding
    /// ones, on the calling thread. Takes the longer the farther that is from both ends.
    ///
    /// @return what the callback returned; nothing when there is no such operation.
    std::optional<int> finish(size_t index, const CallbackArguments& arguments);

    /// Delivers `arguments` for every outstanding operation on the calling thread, and waits for the
    /// callbacks that run on others.
    void endAll(const CallbackArguments& arguments);

    size_t outstanding();

  private:
    struct Operation;
    using Clock = std::chrono::steady_clock;
    using Operations = std::list<Operation>;
    using Schedule = std::multimap<Clock::time_point, Operations::iterator>;
    struct Operation {
        Id id;
        Work work;
        Deliver deliver;
        Schedule::iterator due;  ///< the end of the schedule for one that waits to be ended
    };

    /// In a forked child, with the lock: drops what is the parent's.
    void beginAnew();

    /// Takes the operation out and delivers; `lock` is released meanwhile.
    ///
    /// @param arguments  null for those of the operation's own work.
    void schedule(Operations::iterator operation, Clock::time_point due);
    int end(std::unique_lock<std::mutex>& lock, Operations::iterator operation,
            const CallbackArguments* arguments);
    void run();

    std::mutex m_mutex;
    std::condition_variable m_sooner;    ///< the thread has to look at the schedule again
    std::condition_variable m_returned;  ///< a callback, while endAll() may wait for it
    Operations m_operations;             ///< the oldest first
    Schedule m_schedule;
    std::map<Id, Operations::iterator> m_byId;
    Id m_nextId = 1;
    int m_running = 0;  ///< callbacks
    /// Those of the callbacks that are in endAll() themselves. From inside a callback endAll() does
    /// not wait for these: they would wait for themselves, or for each other.
    int m_endingAll = 0;
    int m_ending = 0;  ///< calls of endAll() under way
    bool m_stopping = false;
    std::thread m_thread;
};

}  // namespace sso_api

#endif
