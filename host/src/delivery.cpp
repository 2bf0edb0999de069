#include "delivery.h"

#include <memory>

#include "host/var_conversion.h"
#include "host/var_table.h"
#include "host_var.h"

namespace host {
namespace {

constexpr const char* kMessage = "page message";
constexpr const char* kCall = "page call";
constexpr const char* kResponse = "response";

// Takes over the reference in the response.
Value takeResponse(HostState& state, PP_Var response) {
    VarTable& vars = VarTable::instance();
    const bool owned = vars.takeFromModule(kResponse, response);
    Conversion conversion = toValue(kResponse, response);
    if (owned) vars.release(Holder::Host, kResponse, response);
    if (conversion.value) return std::move(*conversion.value);
    state.page().log("the response cannot be converted: " + conversion.reason);
    return Value::Undefined{};
}

CallResult askHandler(HostState& state, PP_Instance instance, const MessageHandler& handler,
                      const PP_Var& message) {
    if (!state.instances().exists(instance)) return {CallResult::Status::InstanceGone, {}};
    PP_Var response = PP_MakeUndefined();
    handler.table->HandleBlockingMessage(instance, handler.userData, &message, &response);
    return {CallResult::Status::Replied, takeResponse(state, response)};
}

}  // namespace

void deliverMessage(HostState& state, ModuleLibrary& module, PP_Instance instance,
                    const Value& value) {
    // Browsers ask for it with the first message, handler or not.
    const PPP_Messaging_1_0* messaging = module.messagingInterface();
    const auto message = std::make_shared<HostVar>(kMessage, value);
    const auto task = [&](const MessageHandler& handler) -> MessageLoop::Task {
        return [message, instance, table = handler.table, userData = handler.userData] {
            table->HandleMessage(instance, userData, &message->var());
        };
    };
    if (state.instances().route(instance, task) != Instances::Route::NoHandler) return;
    if (messaging == nullptr) {
        state.page().log(
            "a message without a handler, and the module has no PPP_Messaging;1.0: "
            "a browser's plug-in process would crash");
        return;
    }
    messaging->HandleMessage(instance, message->giveToModule("PPP_Messaging.HandleMessage"));
}

void deliverCall(const std::shared_ptr<HostState>& state, ModuleLibrary& module,
                 PP_Instance instance, const Value& value,
                 const std::function<void(CallResult)>& answer) {
    module.messagingInterface();
    const auto message = std::make_shared<HostVar>(kCall, value);
    const auto task = [&](const MessageHandler& handler) -> MessageLoop::Task {
        return
            [state, message, instance, answer, table = handler.table, userData = handler.userData] {
                answer(askHandler(*state, instance, {table, userData, nullptr}, message->var()));
            };
    };
    switch (state->instances().route(instance, task)) {
        case Instances::Route::Handler:
            return;
        case Instances::Route::NoHandler:
            answer({CallResult::Status::NotHandled, {}});
            return;
        case Instances::Route::InstanceGone:
            answer({CallResult::Status::InstanceGone, {}});
            return;
    }
}

}  // namespace host
