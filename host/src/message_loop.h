#ifndef HOST_SRC_MESSAGE_LOOP_H_
#define HOST_SRC_MESSAGE_LOOP_H_

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace host {

/// A queue of tasks that one thread works off. All functions but attach(), run() and abandon() may
/// be called on any thread; no lock is held while a task runs or dies.
class MessageLoop {
  public:
    using Task = std::function<void()>;

    MessageLoop() = default;
    MessageLoop(const MessageLoop&) = delete;
    MessageLoop& operator=(const MessageLoop&) = delete;

    /// Binds the loop to the calling thread, for good. Delays of earlier tasks count from here.
    ///
    /// @return false when it has, or had, a thread.
    bool attach();

    /// Whether tasks can reach a thread: attached and not yet destroyed.
    bool isAttached() const;

    /// Whether no thread had it so far.
    bool isUnattached() const;

    /// Works on the calling thread, which must be the attached one, until a quit was asked for and
    /// no task is due. Destroys the loop if the quit said so: tasks not yet due die uncalled.
    ///
    /// @return PP_OK, PP_ERROR_INPROGRESS inside a task, PP_ERROR_FAILED for a destroyed loop.
    std::int32_t run();

    /// Tasks run by due time, those of one time in the order they were posted. A delay in
    /// milliseconds of 0 or less means now.
    ///
    /// @return false when the loop is destroyed; the task dies uncalled.
    bool post(Task task, std::int64_t delay = 0);

    /// As post() without a delay, but false also when the loop is not attached.
    bool postIfAttached(Task task);

    /// Has no effect on a destroyed loop.
    void postQuit(bool destroy);

    /// The thread ends: destroys the loop, tasks die uncalled.
    void abandon();

  private:
    using Clock = std::chrono::steady_clock;
    enum class State { Unattached, Attached, Destroyed };
    using Queue = std::multimap<Clock::time_point, Task>;  // keeps the order among equal keys

    void enqueue(Task task, std::int64_t delay);
    Queue destroy();

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    State m_state = State::Unattached;
    bool m_running = false;
    bool m_quit = false;
    bool m_destroyAfterRun = false;
    std::vector<std::pair<std::int64_t, Task>> m_early;  // until attached
    Queue m_queue;
};

}  // namespace host

#endif
