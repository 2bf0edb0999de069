#ifndef PPAPI_CPP_MESSAGE_LOOP_H_
#define PPAPI_CPP_MESSAGE_LOOP_H_

#include "ppapi/c/pp_stdint.h"
#include "ppapi/cpp/resource.h"

namespace pp {

class CompletionCallback;
class InstanceHandle;

/// A queue of work for one thread. The functions give the browser's result: PP_OK,
/// PP_ERROR_BADRESOURCE for a null loop, PP_ERROR_NOINTERFACE without loops in the browser.
class MessageLoop : public Resource {
  public:
    MessageLoop() = default;
    /// Null when the browser makes none.
    explicit MessageLoop(const InstanceHandle& instance);
    /// Adds a reference.
    explicit MessageLoop(PP_Resource pp_message_loop);

    /// Null without loops in the browser.
    static MessageLoop GetForMainThread();
    /// Null on a thread without a loop.
    static MessageLoop GetCurrent();

    /// A thread gets one loop in its life; PP_ERROR_INPROGRESS for a second.
    int32_t AttachToCurrentThread();
    /// Works until a quit was posted and all work that is due is done.
    int32_t Run();
    /// Any thread. When this fails the callback never runs.
    int32_t PostWork(const CompletionCallback& callback, int64_t delay_ms = 0);
    /// Any thread. A destroyed loop takes no more work.
    int32_t PostQuit(bool should_destroy);
};

}  // namespace pp

#endif
