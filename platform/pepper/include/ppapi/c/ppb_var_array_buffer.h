#ifndef PPAPI_C_PPB_VAR_ARRAY_BUFFER_H_
#define PPAPI_C_PPB_VAR_ARRAY_BUFFER_H_

#include "ppapi/c/pp_var.h"

#define PPB_VAR_ARRAY_BUFFER_INTERFACE_1_0 "PPB_VarArrayBuffer;1.0"
#define PPB_VAR_ARRAY_BUFFER_INTERFACE PPB_VAR_ARRAY_BUFFER_INTERFACE_1_0

struct PPB_VarArrayBuffer_1_0 {
    /* Zero filled; a null var when it cannot be made. */
    struct PP_Var (*Create)(uint32_t size_in_bytes);
    /* PP_FALSE for another type; then `byte_length` is left alone. */
    PP_Bool (*ByteLength)(struct PP_Var array, uint32_t* byte_length);
    /* Lives as long as the var; null for another type, and possibly for size 0. */
    void* (*Map)(struct PP_Var array);
    void (*Unmap)(struct PP_Var array);
};
typedef struct PPB_VarArrayBuffer_1_0 PPB_VarArrayBuffer;

#endif
