#ifndef HOST_LIVE_RESOURCE_H_
#define HOST_LIVE_RESOURCE_H_

#include <string>

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_resource.h"

namespace host {

/// A resource that the module owns references to.
struct LiveResource {
    PP_Resource id = 0;
    std::string kind;          ///< "message loop", "main message loop" or "view"
    PP_Instance instance = 0;  ///< it was made for; 0 for the main loop
    int references = 0;        ///< the module's own
    bool dead = false;         ///< the instance's end took it away, the module did not release it
    std::string origin;        ///< interface call that made it
};

}  // namespace host

#endif
