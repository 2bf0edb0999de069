#ifndef PLUGIN_SSO_H_
#define PLUGIN_SSO_H_

#include "PluginSSOMessageHandle.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/module.h"
#include "ppapi/utility/completion_callback_factory.h"
#include "runtime/simple_thread_await_loop.h"

/// One embedding of the plug-in in a page: owns the message handler and the worker thread that the
/// handler's messages come on. Made and destroyed on the main thread.
class CPluginSSO : public pp::Instance {
  public:
    /// Starts the worker and registers the handler on it. A failed registration is logged only: the
    /// instance then lives without getting messages.
    explicit CPluginSSO(PP_Instance instance);
    /// Ends the worker first, so that no message can reach a handler that is going.
    ~CPluginSSO() override;

    /// All set-up is the constructor's.
    ///
    /// @return true, whatever the arguments.
    bool Init(uint32_t argc, const char* argn[], const char* argv[]) override;

    /// Registers the handler on the loop of the calling thread; shaped as a target for
    /// m_oCallbackFactory. The constructor registers by itself.
    void ThreadFunction(int32_t result);

  private:
    // In this order: the handler asks for the privileges before there is a thread, and is the last
    // to go.
    CPluginSSOMessageHandler m_oMessageHandler;
    pp::CompletionCallbackFactory<CPluginSSO, pp::ThreadSafeThreadTraits> m_oCallbackFactory;
    pp::SimpleThreadAwaitLoop* m_poAdditionalThread;  // owned
};

/// The module: makes an instance per embedding.
class CPluginSSOModule : public pp::Module {
  public:
    ~CPluginSSOModule() override;

  protected:
    pp::Instance* CreateInstance(PP_Instance instance) override;
};

#endif
