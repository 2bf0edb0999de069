#ifndef PPAPI_C_PPP_MESSAGING_H_
#define PPAPI_C_PPP_MESSAGING_H_

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"

#define PPP_MESSAGING_INTERFACE_1_0 "PPP_Messaging;1.0"
#define PPP_MESSAGING_INTERFACE PPP_MESSAGING_INTERFACE_1_0

struct PPP_Messaging_1_0 {
    /* Main thread, for messages without a handler. The module receives one reference of
     * `message`, unlike in every other callback, and has to release it. */
    void (*HandleMessage)(PP_Instance instance, struct PP_Var message);
};
typedef struct PPP_Messaging_1_0 PPP_Messaging;

#endif
