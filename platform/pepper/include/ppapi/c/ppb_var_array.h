#ifndef PPAPI_C_PPB_VAR_ARRAY_H_
#define PPAPI_C_PPB_VAR_ARRAY_H_

#include "ppapi/c/pp_var.h"

#define PPB_VAR_ARRAY_INTERFACE_1_0 "PPB_VarArray;1.0"
#define PPB_VAR_ARRAY_INTERFACE PPB_VAR_ARRAY_INTERFACE_1_0

/* Arguments are borrowed, returned vars carry one reference for the caller. */
struct PPB_VarArray_1_0 {
    struct PP_Var (*Create)(void);
    struct PP_Var (*Get)(struct PP_Var array, uint32_t index);
    /* Grows the array to index + 1; the gap is undefined. PP_FALSE for index 0xFFFFFFFF. */
    PP_Bool (*Set)(struct PP_Var array, uint32_t index, struct PP_Var value);
    uint32_t (*GetLength)(struct PP_Var array);
    PP_Bool (*SetLength)(struct PP_Var array, uint32_t length);
};
typedef struct PPB_VarArray_1_0 PPB_VarArray;

#endif
