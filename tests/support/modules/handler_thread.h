#ifndef SUPPORT_MODULES_HANDLER_THREAD_H_
#define SUPPORT_MODULES_HANDLER_THREAD_H_

#include <future>
#include <thread>

#include "c_module.h"

namespace module {

/// A thread with a loop and, on it, the instance's message handler.
class HandlerThread {
  public:
    /// @param runs  false: the loop is attached, and never run.
    HandlerThread(PP_Instance instance, const PPP_MessageHandler_0_2* handler, bool runs = true)
        : m_instance(instance), m_loop(loops().Create(instance)) {
        std::promise<void> attached;
        std::future<void> ready = attached.get_future();
        m_thread = std::thread([this, runs, &attached] {
            loops().AttachToCurrentThread(m_loop);
            attached.set_value();
            if (runs) {
                loops().Run(m_loop);
            } else {
                m_ended.get_future().wait();
            }
        });
        ready.wait();
        messaging().RegisterMessageHandler(instance, nullptr, handler, m_loop);
    }
    ~HandlerThread() {
        messaging().UnregisterMessageHandler(m_instance);
        loops().PostQuit(m_loop, PP_TRUE);
        m_ended.set_value();
        m_thread.join();
        core().ReleaseResource(m_loop);
    }
    HandlerThread(const HandlerThread&) = delete;
    HandlerThread& operator=(const HandlerThread&) = delete;

  private:
    const PP_Instance m_instance;
    const PP_Resource m_loop;
    std::promise<void> m_ended;
    std::thread m_thread;
};

}  // namespace module

#endif
