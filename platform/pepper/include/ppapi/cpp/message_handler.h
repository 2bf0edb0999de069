#ifndef PPAPI_CPP_MESSAGE_HANDLER_H_
#define PPAPI_CPP_MESSAGE_HANDLER_H_

#include "ppapi/cpp/instance_handle.h"
#include "ppapi/cpp/var.h"

namespace pp {

/// Receives an instance's messages on the thread of the loop it was registered with. The layer
/// never deletes it.
class MessageHandler {
  public:
    virtual ~MessageHandler() {}

    virtual void HandleMessage(pp::InstanceHandle instance, const Var& message_data) = 0;
    /// The page waits for the result.
    virtual pp::Var HandleBlockingMessage(pp::InstanceHandle instance, const Var& message_data) = 0;
    /// The last call for this instance.
    virtual void WasUnregistered(pp::InstanceHandle instance) = 0;
};

}  // namespace pp

#endif
