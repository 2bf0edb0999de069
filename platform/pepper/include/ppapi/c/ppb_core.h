#ifndef PPAPI_C_PPB_CORE_H_
#define PPAPI_C_PPB_CORE_H_

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_completion_callback.h"
#include "ppapi/c/pp_resource.h"
#include "ppapi/c/pp_time.h"

#define PPB_CORE_INTERFACE_1_0 "PPB_Core;1.0"
#define PPB_CORE_INTERFACE PPB_CORE_INTERFACE_1_0

/* All functions may be called on any thread. */
struct PPB_Core_1_0 {
    /* A dead or unknown resource is ignored by both. */
    void (*AddRefResource)(PP_Resource resource);
    void (*ReleaseResource)(PP_Resource resource);
    PP_Time (*GetTime)(void);
    PP_TimeTicks (*GetTimeTicks)(void);
    /* Always asynchronous; `result` is handed to the callback unchanged. */
    void (*CallOnMainThread)(int32_t delay_in_milliseconds, struct PP_CompletionCallback callback,
                             int32_t result);
    PP_Bool (*IsMainThread)(void);
};
typedef struct PPB_Core_1_0 PPB_Core;

#endif
