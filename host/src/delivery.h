#ifndef HOST_SRC_DELIVERY_H_
#define HOST_SRC_DELIVERY_H_

#include <functional>

#include "host_state.h"
#include "module_library.h"

namespace host {

/// Takes a page's message to the module, as decided on its arrival. The module's main thread.
void deliverMessage(HostState& state, ModuleLibrary& module, PP_Instance instance,
                    const Value& value);

/// Takes a page's blocking call to the module, as decided on its arrival. The module's main thread.
///
/// @param answer  called at most once, on this thread or the handler's; not at all when the loop
///                dies before the call's turn.
void deliverCall(const std::shared_ptr<HostState>& state, ModuleLibrary& module,
                 PP_Instance instance, const Value& value,
                 const std::function<void(CallResult)>& answer);

}  // namespace host

#endif
