#ifndef HOST_SRC_HOST_STATE_H_
#define HOST_SRC_HOST_STATE_H_

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "host/options.h"
#include "instances.h"
#include "message_loop.h"
#include "page.h"

namespace host {

/// What the interfaces' C functions work on while a module is loaded. Any thread.
class HostState {
  public:
    explicit HostState(HostOptions options);

    /// Null while no module is loaded. A caller's copy stays usable when it is unloaded meanwhile.
    static std::shared_ptr<HostState> current();
    /// @return false when there is one already.
    static bool install(const std::shared_ptr<HostState>& state);
    static void uninstall();

    /// Tells the onCall hook.
    void called(const std::string& what) const;
    /// What the module's get-interface function answers.
    const void* getInterface(const char* name) const;
    /// The calling thread becomes the module's main thread.
    void enterMainThread();
    /// It ends: a later thread may get its identity.
    void leaveMainThread() { m_mainThread = std::thread::id(); }
    bool isMainThread() const { return m_mainThread.load() == std::this_thread::get_id(); }

    const HostOptions& options() const { return m_options; }
    MessageLoop& mainLoop() { return *m_mainLoop; }
    PP_Resource mainLoopResource() const { return m_mainLoopResource; }
    Instances& instances() { return m_instances; }
    Page& page() { return m_page; }

  private:
    const HostOptions m_options;
    const std::shared_ptr<MessageLoop> m_mainLoop;
    const PP_Resource m_mainLoopResource;
    std::atomic<std::thread::id> m_mainThread{};
    Instances m_instances;
    Page m_page;
};

}  // namespace host

#endif
