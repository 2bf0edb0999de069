#ifndef HOST_PLUGIN_HOST_H_
#define HOST_PLUGIN_HOST_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/live_resource.h"
#include "host/message.h"
#include "host/options.h"
#include "host/registration.h"
#include "host/value.h"
#include "host/var_table.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"

namespace host {

/// Loads one module and plays the browser around it, as a Pepper browser does out of process: the
/// module's main thread is a thread of its own, on which all PPP_* calls happen; message handlers
/// are called on the threads of their loops. Who uses a PluginHost plays the page.
///
/// There is one at a time in a process, for the interfaces' C functions have no context. Unloading
/// and loading again gives the module fresh static data, see moduleIsLoaded().
///
/// All functions but unload() and the destructor may be called on any thread, hooks included.
/// embed(), destroy() and runOnMain() wait for the module's main thread; called there, they work at
/// once. After unload() everything that needs that thread throws std::logic_error.
class PluginHost {
  public:
    using Options = HostOptions;

    /// Starts the main thread, loads the module there and initialises it.
    ///
    /// @throws LoadError         see there.
    /// @throws std::logic_error  while another PluginHost has a module.
    explicit PluginHost(Options options);

    /// As unload().
    ~PluginHost();

    PluginHost(const PluginHost&) = delete;
    PluginHost& operator=(const PluginHost&) = delete;

    /// Destroys the instances that are left, does the main thread's work that is due, calls
    /// PPP_ShutdownModule, ends the main thread, closes the shared object, and notes what the module
    /// still holds as leaks. A second call does nothing. Not on the module's own threads.
    void unload();

    /// Whether the shared object is mapped. True after unload() means that the next PluginHost meets
    /// the module's old static data: something else opened it, or it exports symbols of binding
    /// "unique" (nm shows "u"), which the dynamic linker never lets go.
    /// Always false for entry points in this program.
    bool moduleIsLoaded() const;

    /// @name Instances
    /// @{

    /// Makes an instance: DidCreate, then DidChangeView in a task of its own. What the module posts
    /// to the page meanwhile arrives once DidCreate has returned.
    ///
    /// @param beforeCreate  told of the id before DidCreate, on the module's main thread.
    /// @return its id: any number but 0, often negative.
    /// @throws EmbedError  when DidCreate refuses; DidDestroy follows at once.
    PP_Instance embed(const Attributes& attributes = {},
                      const std::function<void(PP_Instance)>& beforeCreate = {});

    /// Removes the element: DidDestroy has returned when this does.
    ///
    /// @return false when there is no such instance.
    bool destroy(PP_Instance instance);

    /// The live ones, in creation included.
    std::vector<PP_Instance> instances() const;

    /// @}
    /// @name Messages from the page
    /// @{

    /// postMessage(): returns at once. Where the message goes is decided on the main thread when it
    /// arrives there: to the registered handler if its loop has a thread; a handler whose loop has
    /// none is forgotten without Destroy; else to PPP_Messaging. Lost when the instance is gone.
    void post(PP_Instance instance, const Value& value);

    /// As post(), of a var's content; it is borrowed for the call. One that cannot be converted (a
    /// cycle, a resource) is dropped with a line on the console.
    ///
    /// @return whether it was sent.
    bool postVar(PP_Instance instance, PP_Var var);

    /// postMessageAndAwaitResponse(): waits for the answer. Several threads may call at once; the
    /// handler gets the calls one after the other. A response that cannot be converted comes back as
    /// undefined, with a line on the console.
    ///
    /// @param timeout  longest wait, from now, on the steady clock.
    /// @throws std::logic_error  on the module's main thread, which would wait for itself.
    CallResult call(PP_Instance instance, const Value& value,
                    std::chrono::milliseconds timeout = std::chrono::seconds(10));

    /// Takes the message handler away as if the module had called UnregisterMessageHandler.
    void unregister(PP_Instance instance);

    /// @}
    /// @name Messages to the page
    /// @{

    /// What arrived since the last call, in the order of arrival.
    std::vector<Message> takeMessages();

    /// Waits until at least `count` messages are there to take.
    ///
    /// @return false when that did not happen in time.
    bool waitForMessages(std::size_t count, std::chrono::milliseconds timeout);

    /// Errors that a browser writes to the page's console, since the module was loaded.
    std::vector<std::string> consoleLines() const;

    /// @}
    /// @name Control
    /// @{

    /// Runs a function on the module's main thread and waits for its end. What it throws comes out
    /// here.
    void runOnMain(const std::function<void()>& function);

    /// Waits until the main thread, then the loop that the instance last registered a handler with,
    /// then the main thread again have done the work that was due when each was asked. Delayed work
    /// that is not yet due is not waited for.
    ///
    /// @return false when it took longer than the timeout.
    /// @throws std::logic_error  on the module's main thread, which would wait for itself.
    bool drain(PP_Instance instance, std::chrono::milliseconds timeout = std::chrono::seconds(10));

    /// Makes the next call of RegisterMessageHandler fail with the result, without any check and
    /// without effect.
    ///
    /// @throws std::invalid_argument  for PP_OK.
    void failNextRegistration(std::int32_t result);

    /// As failNextRegistration() for all calls, until given nothing.
    void setRegistrationResult(std::optional<std::int32_t> result);

    /// @}
    /// @name Reports; also after unload(), until the next PluginHost is made
    /// @{

    /// Every call of RegisterMessageHandler, in order.
    std::vector<Registration> registrations() const;

    /// What the module did wrong with vars, see VarTable::problems(). Leaks: after unload().
    std::vector<std::string> problems() const;

    /// Vars that the module owns references to now.
    std::vector<HeldVar> moduleHeldVars() const;

    /// Resources that the module owns references to now. Not among the problems: Pepper's own class
    /// layer, which a device's build links, leaks one per GetForMainThread and GetCurrent.
    std::vector<LiveResource> liveResources() const;

    /// Releases of resources that the module did not own a reference to.
    std::vector<std::string> resourceProblems() const;

    /// @}

  private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace host

#endif
