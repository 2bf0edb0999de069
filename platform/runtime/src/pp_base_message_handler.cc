#include "runtime/pp_base_message_handler.h"

#include "ppapi/cpp/var_dictionary.h"

void PPBaseMessageHandler::HandleMessage(pp::InstanceHandle instance, const pp::Var& message) {
    HandleMessageImpl(instance, message);
}

pp::Var PPBaseMessageHandler::HandleBlockingMessage(pp::InstanceHandle instance,
                                                    const pp::Var& message) {
    return HandleBlockingMessageImpl(instance, message);
}

// By value, as the runtime's own signature has them.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
pp::Var PPBaseMessageHandler::createMessage(int code, pp::Var value, std::string errorName,
                                            std::string errorMessage) {  // NOLINT(performance-*)
    pp::VarDictionary reply;
    reply.Set("code", code);
    reply.Set("errorName", errorName);
    reply.Set("errorMessage", errorMessage);
    if (!value.is_null()) {
        reply.Set("value", value);
    }
    return {pp::PASS_REF, reply.Detach()};  // else it would be a copy, of another type
}
