#ifndef HOST_SRC_MODULE_LIBRARY_H_
#define HOST_SRC_MODULE_LIBRARY_H_

#include <string>

#include "host/options.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_messaging.h"

namespace host {

/// A module's entry points and, unless it is part of this program, its shared object. All functions
/// but close() and isMapped(): the module's main thread.
class ModuleLibrary {
  public:
    ModuleLibrary() = default;
    ModuleLibrary(const ModuleLibrary&) = delete;
    ModuleLibrary& operator=(const ModuleLibrary&) = delete;

    /// Opens the shared object and looks up the entry points; takes those of the options, if any.
    ///
    /// @throws LoadError
    void open(const HostOptions& options);

    /// @throws LoadError  when PPP_InitializeModule fails.
    void initialize(PPB_GetInterface getInterface);
    void shutdown();

    /// Asks the module the first time, twice as browsers do. Null when it has none.
    const PPP_Instance_1_1* instanceInterface();
    /// Asks the module the first time. Null when it has none.
    const PPP_Messaging_1_0* messagingInterface();

    /// Once the main thread has ended: only then have all its thread-local objects let go.
    void close();
    bool isMapped() const;

  private:
    void* symbol(const char* name) const;
    [[noreturn]] void fail(const std::string& reason) const;

    std::string m_name;
    void* m_handle = nullptr;
    EntryPoints m_entry;
    const PPP_Instance_1_1* m_instance = nullptr;
    const PPP_Messaging_1_0* m_messaging = nullptr;
    bool m_askedForMessaging = false;
};

}  // namespace host

#endif
