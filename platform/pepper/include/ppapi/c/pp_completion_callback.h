#ifndef PPAPI_C_PP_COMPLETION_CALLBACK_H_
#define PPAPI_C_PP_COMPLETION_CALLBACK_H_

#include "ppapi/c/pp_macros.h"
#include "ppapi/c/pp_stdint.h"

typedef void (*PP_CompletionCallback_Func)(void* user_data, int32_t result);

typedef enum {
    PP_COMPLETIONCALLBACK_FLAG_NONE = 0,
    PP_COMPLETIONCALLBACK_FLAG_OPTIONAL = 1
} PP_CompletionCallback_Flag;

struct PP_CompletionCallback {
    PP_CompletionCallback_Func func;
    void* user_data;
    int32_t flags; /* PP_CompletionCallback_Flag */
};
PP_COMPILE_ASSERT_STRUCT_SIZE_IN_BYTES(PP_CompletionCallback, 3 * sizeof(void*));

PP_INLINE struct PP_CompletionCallback PP_MakeCompletionCallback(PP_CompletionCallback_Func func,
                                                                 void* user_data) {
    struct PP_CompletionCallback callback;
    callback.func = func;
    callback.user_data = user_data;
    callback.flags = PP_COMPLETIONCALLBACK_FLAG_NONE;
    return callback;
}

/* No function: the call that takes it waits for its own end. */
PP_INLINE struct PP_CompletionCallback PP_BlockUntilComplete(void) {
    return PP_MakeCompletionCallback(NULL, NULL); /* NOLINT(modernize-use-nullptr): C too */
}

PP_INLINE void PP_RunCompletionCallback(struct PP_CompletionCallback* callback, int32_t result) {
    callback->func(callback->user_data, result);
}

#endif
