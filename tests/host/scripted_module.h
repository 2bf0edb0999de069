#ifndef HOST_TESTS_SCRIPTED_MODULE_H_
#define HOST_TESTS_SCRIPTED_MODULE_H_

#include <functional>
#include <string>

#include "event_log.h"
#include "host/plugin_host.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_message_handler.h"
#include "ppapi/c/ppp_messaging.h"

/// A module in the test program, written against the C interfaces; a test says what it does. There
/// is one at a time. What is set must be set before the host may call it.
class ScriptedModule {
  public:
    ScriptedModule();
    ~ScriptedModule();
    ScriptedModule(const ScriptedModule&) = delete;
    ScriptedModule& operator=(const ScriptedModule&) = delete;

    static host::EntryPoints entryPoints();

    std::int32_t initResult = 0;
    bool hasInstances = true;
    bool hasMessaging = true;
    /// What the host gets of them.
    PPP_Instance_1_1 instances;
    PPP_Messaging_1_0 messaging;

    /// Default: true.
    std::function<bool(PP_Instance, const host::Attributes&)> didCreate;
    std::function<void(PP_Instance)> didDestroy;
    std::function<void(PP_Instance, PP_Resource view)> didChangeView;
    /// Owns the message's reference. Default: releases it.
    std::function<void(PP_Instance, PP_Var)> handleMessage;

    /// The host's calls by name: "PPP_GetInterface PPP_Instance;1.1", "DidCreate", "HandleMessage".
    support::EventLog calls;

    PPB_GetInterface getInterface = nullptr;
};

/// A message handler of which a test says what it does. By default it logs each call, as
/// `message "text"`, `call "text"` or `destroy`, and answers calls with undefined.
class ScriptedHandler {
  public:
    /// Borrows the message.
    std::function<void(PP_Instance, PP_Var)> handleMessage;
    /// Borrows the message; the result's reference is given away.
    std::function<PP_Var(PP_Instance, PP_Var)> handleBlockingMessage;
    std::function<void(PP_Instance)> destroy;
    support::EventLog log;

    /// @return what RegisterMessageHandler returned.
    std::int32_t registerOn(PP_Instance instance, PP_Resource loop);

    static const PPP_MessageHandler_0_2 kTable;
};

#endif
