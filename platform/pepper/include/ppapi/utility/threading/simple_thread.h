#ifndef PPAPI_UTILITY_THREADING_SIMPLE_THREAD_H_
#define PPAPI_UTILITY_THREADING_SIMPLE_THREAD_H_

#include <pthread.h>

#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/message_loop.h"

namespace pp {

/// A thread with a message loop, good for one run. Its functions belong to the thread that made it.
class SimpleThread {
  public:
    typedef void (*ThreadFunc)(MessageLoop&, void* user_data);
    typedef pthread_t ThreadHandle;

    /// Makes the loop at once.
    explicit SimpleThread(const InstanceHandle& instance);
    /// Joins.
    ~SimpleThread();
    SimpleThread(const SimpleThread&) = delete;
    SimpleThread& operator=(const SimpleThread&) = delete;

    /// Runs the loop on a new thread. Returns without waiting for it to attach: a message handler
    /// that is registered too early is lost. False when it is started already or cannot be.
    bool Start();
    /// The same with a function in place of the loop's Run().
    bool StartWithFunction(ThreadFunc func, void* user_data);
    /// Ends the loop once the work that is due is done, and waits for the thread. False when
    /// nothing was started. Not from the thread itself.
    bool Join();

    MessageLoop& message_loop() { return message_loop_; }
    ThreadHandle thread() const { return thread_; }

  private:
    MessageLoop message_loop_;
    ThreadHandle thread_;
};

}  // namespace pp

#endif
