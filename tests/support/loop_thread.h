#ifndef SUPPORT_LOOP_THREAD_H_
#define SUPPORT_LOOP_THREAD_H_

#include <cstdint>
#include <stdexcept>
#include <thread>

#include "browser_tables.h"
#include "ppapi/c/pp_errors.h"
#include "thread_signal.h"

namespace support {

/// A thread that runs a message loop, in the C interfaces alone.
class LoopThread {
  public:
    /// Has attached the loop when it returns.
    explicit LoopThread(PP_Instance instance) : m_loop(loops().Create(instance)) {
        m_thread = std::thread([this] {
            m_attachResult = loops().AttachToCurrentThread(m_loop);
            m_attached.give();
            if (m_attachResult == PP_OK) m_runResult = loops().Run(m_loop);
        });
        if (!m_attached.wait() || m_attachResult != PP_OK) {
            m_thread.join();
            throw std::runtime_error("the loop was not attached");
        }
    }
    LoopThread(const LoopThread&) = delete;
    LoopThread& operator=(const LoopThread&) = delete;
    ~LoopThread() {
        if (m_thread.joinable()) stop();
        core().ReleaseResource(m_loop);
    }

    PP_Resource loop() const { return m_loop; }
    std::thread::id id() const { return m_thread.get_id(); }

    /// Ends the loop, after what is due, and the thread. @return what Run returned.
    std::int32_t stop() {
        loops().PostQuit(m_loop, PP_TRUE);
        m_thread.join();
        return m_runResult;
    }

  private:
    const PP_Resource m_loop;
    Signal m_attached;
    std::int32_t m_attachResult = PP_ERROR_FAILED;
    std::int32_t m_runResult = PP_ERROR_FAILED;
    std::thread m_thread;
};

}  // namespace support

#endif
