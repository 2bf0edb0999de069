#ifndef HOST_SRC_THREAD_LOOP_H_
#define HOST_SRC_THREAD_LOOP_H_

#include <memory>

#include "message_loop.h"
#include "ppapi/c/pp_resource.h"

namespace host {

/// The one loop that the calling thread gets in its life, also after it was destroyed. The thread's
/// end abandons it.
class ThreadLoop {
  public:
    static ThreadLoop& current();

    ThreadLoop(const ThreadLoop&) = delete;
    ThreadLoop& operator=(const ThreadLoop&) = delete;

    /// Attaches the loop and keeps the resource alive until the thread ends.
    ///
    /// @return false when this thread has a loop or the loop has a thread.
    bool attach(PP_Resource resource, std::shared_ptr<MessageLoop> loop);

    /// 0 on a thread without a loop.
    PP_Resource resource() const { return m_resource; }
    /// Null on a thread without a loop.
    const std::shared_ptr<MessageLoop>& loop() const { return m_loop; }

  private:
    ThreadLoop() = default;
    ~ThreadLoop();

    PP_Resource m_resource = 0;
    std::shared_ptr<MessageLoop> m_loop;
};

}  // namespace host

#endif
