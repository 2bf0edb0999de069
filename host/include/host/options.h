#ifndef HOST_OPTIONS_H_
#define HOST_OPTIONS_H_

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/message.h"
#include "ppapi/c/ppp.h"

namespace host {

/// The module cannot be loaded or does not start. what() is one line and names the module.
class LoadError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The module refused an instance. what() is one line.
class EmbedError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The three functions of a module, for one that is linked into the program.
struct EntryPoints {
    PP_InitializeModule_Func initializeModule = nullptr;
    PP_GetInterface_Func getInterface = nullptr;
    PP_ShutdownModule_Func shutdownModule = nullptr;  ///< may be null
};

/// An embedding element's attributes, in order.
using Attributes = std::vector<std::pair<std::string, std::string>>;

/// What a PluginHost loads, and whom it tells.
struct HostOptions {
    /// The shared object. A name without a slash is meant in the current folder.
    std::string modulePath;
    /// A module in this program; then modulePath is not used.
    std::optional<EntryPoints> entryPoints;
    /// Browser interfaces by exact name: more, or instead of the host's own. Null hides one.
    /// The tables must outlive the process' use of the module.
    std::map<std::string, const void*> interfaces;
    /// How long AttachToCurrentThread waits before it attaches: a slow scheduler.
    std::chrono::milliseconds attachDelay{0};

    /// Told of the module's calls on the calling thread, before the call has its effect:
    ///   "PPB_MessageLoop.Create", "GetForMainThread", "GetCurrent", "AttachToCurrentThread",
    ///   "Run", "PostWork", "PostQuit", "CallOnMainThread", "PostMessage",
    ///   "UnregisterMessageHandler", "GetInterface PPB_Var;1.2"
    /// and after it:
    ///   "Run returned", "RegisterMessageHandler -> 0" (or the error's number)
    /// No lock is held. The hook may be entered on several threads at once.
    std::function<void(const std::string& what)> onCall;
    /// Told of each message for the page, after it can be taken; on the thread that posted it,
    /// or on the module's main thread for what was posted before the element was ready.
    std::function<void(const Message& message)> onMessage;
    /// Told of each line on the page's console, on the thread that caused it.
    std::function<void(const std::string& line)> onConsole;
};

}  // namespace host

#endif
