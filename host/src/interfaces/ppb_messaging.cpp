#include <chrono>
#include <string>
#include <utility>

#include "host/var_conversion.h"
#include "host_state.h"
#include "ppapi/c/pp_errors.h"
#include "resource_table.h"
#include "tables.h"
#include "this_thread.h"

namespace host {
namespace {

void postMessage(PP_Instance instance, PP_Var var) {
    const auto state = HostState::current();
    if (state == nullptr) return;
    state->called("PostMessage");
    Conversion conversion = toValue("PPB_Messaging.PostMessage", var);
    if (!conversion.value) {
        state->page().log("PostMessage: the message cannot be converted: " + conversion.reason);
        return;
    }
    const Message message{instance, std::move(*conversion.value), std::chrono::system_clock::now(),
                          thisThreadName(), thisThreadId()};
    switch (state->instances().post(message)) {
        case Instances::Outgoing::Deliver:
            state->page().deliver(message);
            return;
        case Instances::Outgoing::UnknownInstance:
            state->page().log("PostMessage: there is no instance " + std::to_string(instance));
            return;
        case Instances::Outgoing::Held:
        case Instances::Outgoing::Lost:
            return;
    }
}

int32_t registerMessageHandler(PP_Instance instance, void* userData,
                               const PPP_MessageHandler_0_2* handler, PP_Resource loop) {
    const auto state = HostState::current();
    if (state == nullptr) return PP_ERROR_BADARGUMENT;
    const int32_t result = state->instances().registerHandler(
        instance, {handler, userData, ResourceTable::instance().loop(loop)}, loop,
        state->mainLoop());
    state->called("RegisterMessageHandler -> " + std::to_string(result));
    return result;
}

void unregisterMessageHandler(PP_Instance instance) {
    const auto state = HostState::current();
    if (state == nullptr) return;
    state->called("UnregisterMessageHandler");
    state->instances().unregisterHandler(instance);
}

}  // namespace

const PPB_Messaging_1_0 kMessaging10 = {postMessage};
const PPB_Messaging_1_2 kMessaging12 = {postMessage, registerMessageHandler,
                                        unregisterMessageHandler};

}  // namespace host
