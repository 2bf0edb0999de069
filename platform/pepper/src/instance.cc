#include "ppapi/cpp/instance.h"

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppp_message_handler.h"
#include "ppapi/cpp/message_handler.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/cpp/module_impl.h"
#include "ppapi/cpp/var.h"

namespace pp {
namespace {

template <>
const char* interface_name<PPB_Messaging_1_2>() {
    return PPB_MESSAGING_INTERFACE_1_2;
}

template <>
const char* interface_name<PPB_Messaging_1_0>() {
    return PPB_MESSAGING_INTERFACE_1_0;
}

MessageHandler* handlerOf(void* user_data) { return static_cast<MessageHandler*>(user_data); }

void handleMessage(PP_Instance instance, void* user_data, const PP_Var* message) {
    handlerOf(user_data)->HandleMessage(InstanceHandle(instance), Var(*message));
}

void handleBlockingMessage(PP_Instance instance, void* user_data, const PP_Var* message,
                           PP_Var* response) {
    *response = handlerOf(user_data)
                    ->HandleBlockingMessage(InstanceHandle(instance), Var(*message))
                    .Detach();
}

void destroyHandler(PP_Instance instance, void* user_data) {
    handlerOf(user_data)->WasUnregistered(InstanceHandle(instance));
}

// Static: the browser keeps the pointer.
const PPP_MessageHandler_0_2 kHandlerTable = {&handleMessage, &handleBlockingMessage,
                                              &destroyHandler};

}  // namespace

bool Instance::Init(uint32_t, const char*[], const char*[]) { return true; }

void Instance::DidChangeView(const View& view) {
    DidChangeView(view.GetRect(), view.GetClipRect());
}

void Instance::DidChangeView(const Rect&, const Rect&) {}

void Instance::DidChangeFocus(bool) {}

bool Instance::HandleInputEvent(const InputEvent&) { return false; }

bool Instance::HandleDocumentLoad(const URLLoader&) { return false; }

void Instance::HandleMessage(const Var&) {}

void Instance::PostMessage(const Var& message) {
    if (const auto* messaging = get_interface<PPB_Messaging_1_2>()) {
        messaging->PostMessage(pp_instance_, message.pp_var());
    } else if (const auto* older = get_interface<PPB_Messaging_1_0>()) {
        older->PostMessage(pp_instance_, message.pp_var());
    }
}

int32_t Instance::RegisterMessageHandler(MessageHandler* message_handler,
                                         const MessageLoop& message_loop) {
    if (const auto* messaging = get_interface<PPB_Messaging_1_2>()) {
        return messaging->RegisterMessageHandler(pp_instance_, message_handler, &kHandlerTable,
                                                 message_loop.pp_resource());
    }
    return PP_ERROR_NOTSUPPORTED;
}

void Instance::UnregisterMessageHandler() {
    if (const auto* messaging = get_interface<PPB_Messaging_1_2>()) {
        messaging->UnregisterMessageHandler(pp_instance_);
    }
}

}  // namespace pp
