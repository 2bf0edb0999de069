#ifndef RUNTIME_SIMPLE_THREAD_AWAIT_LOOP_H_
#define RUNTIME_SIMPLE_THREAD_AWAIT_LOOP_H_

#include "ppapi/utility/threading/simple_thread.h"

namespace pp {

/// A thread with a message loop that is ready for a message handler once Start() has returned.
/// The destructor ends the loop, after the work already queued, and joins the thread.
/// Start() and the destructor belong to the thread that made it.
class SimpleThreadAwaitLoop {
  public:
    /// Makes the loop at once, on behalf of `instance`.
    explicit SimpleThreadAwaitLoop(const InstanceHandle& instance) : thread_(instance) {}

    /// Returns once the thread runs and its loop is attached to it: a message that reaches a
    /// handler on a loop not yet attached would be lost, and the handler with it.
    ///
    /// @return false when it is started already or the thread cannot be made.
    bool Start();

    MessageLoop& message_loop() { return thread_.message_loop(); }

  private:
    SimpleThread thread_;
};

}  // namespace pp

#endif
