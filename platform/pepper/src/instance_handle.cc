#include "ppapi/cpp/instance_handle.h"

#include "ppapi/cpp/instance.h"

namespace pp {

InstanceHandle::InstanceHandle(Instance* instance)
    : pp_instance_(instance != nullptr ? instance->pp_instance() : 0) {}

}  // namespace pp
