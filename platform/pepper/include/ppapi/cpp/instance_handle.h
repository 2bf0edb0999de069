#ifndef PPAPI_CPP_INSTANCE_HANDLE_H_
#define PPAPI_CPP_INSTANCE_HANDLE_H_

#include "ppapi/c/pp_instance.h"

namespace pp {

class Instance;

/// The number of an instance, safe to copy to any thread: it keeps nothing alive.
class InstanceHandle {
  public:
    /// A null instance gives a handle that holds 0.
    InstanceHandle(Instance* instance);  // NOLINT(google-explicit-constructor): Pepper's own API
    explicit InstanceHandle(PP_Instance pp_instance) : pp_instance_(pp_instance) {}

    PP_Instance pp_instance() const { return pp_instance_; }

  private:
    PP_Instance pp_instance_;
};

}  // namespace pp

#endif
