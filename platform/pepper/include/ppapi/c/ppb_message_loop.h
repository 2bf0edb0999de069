#ifndef PPAPI_C_PPB_MESSAGE_LOOP_H_
#define PPAPI_C_PPB_MESSAGE_LOOP_H_

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_completion_callback.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_resource.h"

#define PPB_MESSAGELOOP_INTERFACE_1_0 "PPB_MessageLoop;1.0"
#define PPB_MESSAGELOOP_INTERFACE PPB_MESSAGELOOP_INTERFACE_1_0

struct PPB_MessageLoop_1_0 {
    /* One reference for the caller; 0 for an unknown instance. */
    PP_Resource (*Create)(PP_Instance instance);
    /* One reference for the caller. */
    PP_Resource (*GetForMainThread)(void);
    /* One reference for the caller; 0 on a thread without a loop. */
    PP_Resource (*GetCurrent)(void);
    int32_t (*AttachToCurrentThread)(PP_Resource message_loop);
    /* Works until somebody posts a quit. */
    int32_t (*Run)(PP_Resource message_loop);
    /* The callback gets result 0. When this fails the callback never runs. */
    int32_t (*PostWork)(PP_Resource message_loop, struct PP_CompletionCallback callback,
                        int64_t delay_ms);
    /* Run returns once all work that is due has been done. */
    int32_t (*PostQuit)(PP_Resource message_loop, PP_Bool should_destroy);
};
typedef struct PPB_MessageLoop_1_0 PPB_MessageLoop;

#endif
