#ifndef PPAPI_C_PPP_INSTANCE_H_
#define PPAPI_C_PPP_INSTANCE_H_

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_resource.h"
#include "ppapi/c/pp_stdint.h"

#define PPP_INSTANCE_INTERFACE_1_1 "PPP_Instance;1.1"
#define PPP_INSTANCE_INTERFACE PPP_INSTANCE_INTERFACE_1_1

/* All functions are called on the module's main thread. */
struct PPP_Instance_1_1 {
    /* `argn` and `argv` hold `argc` attributes of the element, valid during the call only.
     * PP_FALSE refuses the instance: DidDestroy follows at once. */
    PP_Bool (*DidCreate)(PP_Instance instance, uint32_t argc, const char* argn[],
                         const char* argv[]);
    void (*DidDestroy)(PP_Instance instance);
    void (*DidChangeView)(PP_Instance instance, PP_Resource view);
    void (*DidChangeFocus)(PP_Instance instance, PP_Bool has_focus);
    PP_Bool (*HandleDocumentLoad)(PP_Instance instance, PP_Resource url_loader);
};
typedef struct PPP_Instance_1_1 PPP_Instance;

#endif
