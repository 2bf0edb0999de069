#ifndef PPAPI_C_PPP_INPUT_EVENT_H_
#define PPAPI_C_PPP_INPUT_EVENT_H_

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_resource.h"

#define PPP_INPUT_EVENT_INTERFACE_0_1 "PPP_InputEvent;0.1"
#define PPP_INPUT_EVENT_INTERFACE PPP_INPUT_EVENT_INTERFACE_0_1

struct PPP_InputEvent_0_1 {
    /* PP_TRUE when the module used the event up. `input_event` is borrowed for the call. */
    PP_Bool (*HandleInputEvent)(PP_Instance instance, PP_Resource input_event);
};
typedef struct PPP_InputEvent_0_1 PPP_InputEvent;

#endif
