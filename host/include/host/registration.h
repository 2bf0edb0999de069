#ifndef HOST_REGISTRATION_H_
#define HOST_REGISTRATION_H_

#include <cstdint>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_resource.h"

namespace host {

/// One call of PPB_Messaging.RegisterMessageHandler.
struct Registration {
    PP_Instance instance = 0;
    PP_Resource loop = 0;
    bool loopAttached = false;  ///< the loop had its thread at that moment; else messages get lost
    std::int32_t result = 0;
};

}  // namespace host

#endif
