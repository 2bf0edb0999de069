#ifndef RUNTIME_PPB_EXTENSION_SYSTEM_KORVANE_H_
#define RUNTIME_PPB_EXTENSION_SYSTEM_KORVANE_H_

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"

#define PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1 "PPB_ExtensionSystem_Korvane;0.1"

/* The runtime's vendor interface: what a plug-in instance may ask of its embedder.
 * Arguments are borrowed; a var that comes back carries one reference for the caller. */
struct PPB_ExtensionSystem_Korvane_0_1 {
    /* The embedder's name, a string. */
    struct PP_Var (*GetEmbedderName)(PP_Instance instance);
    /* What the runtime tells of the extension that the instance runs in; any type. */
    struct PP_Var (*GetCurrentExtensionInfo)(PP_Instance instance);
    /* Runs a named operation of the embedder and waits for it. 0: `result` holds the answer, with
     * one reference for the caller. Anything else: it failed, and `result` means nothing. */
    int32_t (*GenericSyncCall)(PP_Instance instance, struct PP_Var operation_name,
                               struct PP_Var operation_param, struct PP_Var* result);
};

#endif
