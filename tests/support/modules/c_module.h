#ifndef SUPPORT_MODULES_C_MODULE_H_
#define SUPPORT_MODULES_C_MODULE_H_

#include <string>
#include <utility>
#include <vector>

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppp_message_handler.h"

/// The common part of the test modules that are written against the C interfaces alone. c_module.cpp
/// holds the entry points; each module's own source says what its instances do.
namespace module {

struct Behaviour {
    bool (*didCreate)(PP_Instance instance);
    void (*didDestroy)(PP_Instance instance);
    /// Owns the message's reference. Null: the module has no PPP_Messaging.
    void (*handleMessage)(PP_Instance instance, PP_Var message);
};

/// Supplied by each module.
extern const Behaviour kBehaviour;

/// What the element of the instance says that was made last, or is being made: names and values. Main thread.
const std::vector<std::pair<std::string, std::string>>& attributesOfTheNewest();

/// A table of the browser; null when it is not offered.
const void* browserInterface(const char* name);

inline const PPB_Core& core() {
    return *static_cast<const PPB_Core*>(browserInterface(PPB_CORE_INTERFACE));
}
inline const PPB_Var& vars() {
    return *static_cast<const PPB_Var*>(browserInterface(PPB_VAR_INTERFACE));
}
inline const PPB_MessageLoop& loops() {
    return *static_cast<const PPB_MessageLoop*>(browserInterface(PPB_MESSAGELOOP_INTERFACE));
}
inline const PPB_Messaging& messaging() {
    return *static_cast<const PPB_Messaging*>(browserInterface(PPB_MESSAGING_INTERFACE));
}

/// "" for a var that is no string.
inline std::string textOf(const PP_Var& var) {
    uint32_t length = 0;
    const char* data = vars().VarToUtf8(var, &length);
    return data == nullptr ? std::string() : std::string(data, length);
}

/// One reference for the caller.
inline PP_Var makeText(const std::string& text) {
    return vars().VarFromUtf8(text.data(), static_cast<uint32_t>(text.size()));
}

}  // namespace module

#endif
