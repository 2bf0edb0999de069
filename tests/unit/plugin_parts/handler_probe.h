#ifndef PLUGIN_PARTS_HANDLER_PROBE_H_
#define PLUGIN_PARTS_HANDLER_PROBE_H_

#include <memory>
#include <string>
#include <vector>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"

/// A message handler without a CPluginSSO around it.
class HandlerProbe {
  public:
    virtual ~HandlerProbe() = default;
    virtual void registerOnThisThread() = 0;
    /// @param instance  not only the handler's own.
    virtual void wasUnregistered(PP_Instance instance) = 0;
    virtual bool checkPrivilege(const std::string& command) = 0;
    /// @param keys  null passes a null key array.
    virtual void respond(const std::string& command, int status, const std::string& errorName,
                         const std::string& errorMessage, const std::vector<std::string>* keys,
                         const std::vector<PP_Var>& values, int count) = 0;
};

/// What the module exports, as "handlerProbes".
struct HandlerProbes {
    std::unique_ptr<HandlerProbe> (*makeHandler)(PP_Instance instance);
    void (*makeHandlerWithoutInstance)();
    /// Of the plug-in's own instance object: what its unused thread function does.
    void (*callThreadFunction)(PP_Instance instance);
};

#endif
