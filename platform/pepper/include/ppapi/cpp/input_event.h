#ifndef PPAPI_CPP_INPUT_EVENT_H_
#define PPAPI_CPP_INPUT_EVENT_H_

#include "ppapi/cpp/resource.h"

namespace pp {

/// An input event, as Instance::HandleInputEvent gets it.
class InputEvent : public Resource {
  public:
    InputEvent() = default;
    /// Adds a reference.
    explicit InputEvent(PP_Resource resource) : Resource(resource) {}
};

}  // namespace pp

#endif
