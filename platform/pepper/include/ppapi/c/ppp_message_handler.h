#ifndef PPAPI_C_PPP_MESSAGE_HANDLER_H_
#define PPAPI_C_PPP_MESSAGE_HANDLER_H_

#include "ppapi/c/pp_instance.h"
#include "ppapi/c/pp_var.h"

/* All three run on the thread of the loop that the handler was registered with. */
struct PPP_MessageHandler_0_2 {
    /* `message` and its reference are borrowed for the call. */
    void (*HandleMessage)(PP_Instance instance, void* user_data, const struct PP_Var* message);
    /* `response` is undefined on entry; the browser takes the reference stored there. */
    void (*HandleBlockingMessage)(PP_Instance instance, void* user_data,
                                  const struct PP_Var* message, struct PP_Var* response);
    /* Unregistered or replaced: no further call comes with this pair of arguments. */
    void (*Destroy)(PP_Instance instance, void* user_data);
};
typedef struct PPP_MessageHandler_0_2 PPP_MessageHandler;

#endif
