#ifndef RUNTIME_PP_BASE_MESSAGE_HANDLER_H_
#define RUNTIME_PP_BASE_MESSAGE_HANDLER_H_

#include <string>

#include "ppapi/cpp/message_handler.h"

/// The runtime's base of message handlers: passes each message to one of two hooks, and builds
/// replies. Everything runs on the thread of the loop that the handler was registered with.
class PPBaseMessageHandler : public pp::MessageHandler {
  public:
    void HandleMessage(pp::InstanceHandle instance, const pp::Var& message) override;
    pp::Var HandleBlockingMessage(pp::InstanceHandle instance, const pp::Var& message) override;
    // Declared again to keep its place before the hooks: the slot order is part of the ABI.
    void WasUnregistered(pp::InstanceHandle instance) override = 0;

    /// An asynchronous message, as it came.
    virtual void HandleMessageImpl(pp::InstanceHandle instance, const pp::Var& message) = 0;
    /// A blocking message, as it came; the page gets the result.
    virtual pp::Var HandleBlockingMessageImpl(pp::InstanceHandle instance,
                                              const pp::Var& message) = 0;

  protected:
    /// Lays a reply out as a dictionary.
    ///
    /// @param code  "code", an int32; 0 is success.
    /// @param value  "value"; left out when it is null.
    /// @param errorName  "errorName", there even when empty.
    /// @param errorMessage  "errorMessage", there even when empty.
    pp::Var createMessage(int code, pp::Var value, std::string errorName, std::string errorMessage);
};

#endif
