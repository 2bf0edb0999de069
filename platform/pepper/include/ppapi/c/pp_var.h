#ifndef PPAPI_C_PP_VAR_H_
#define PPAPI_C_PP_VAR_H_

#include "ppapi/c/pp_bool.h"
#include "ppapi/c/pp_macros.h"
#include "ppapi/c/pp_stdint.h"

/* Types from PP_VARTYPE_STRING on are counted: they carry an id that PPB_Var keeps references on.
 * As wide as in C, where it holds any number. */
#ifdef __cplusplus
typedef enum PP_VarType : int {
#else
typedef enum {
#endif
    PP_VARTYPE_UNDEFINED = 0,
    PP_VARTYPE_NULL = 1,
    PP_VARTYPE_BOOL = 2,
    PP_VARTYPE_INT32 = 3,
    PP_VARTYPE_DOUBLE = 4,
    PP_VARTYPE_STRING = 5,
    PP_VARTYPE_OBJECT = 6,
    PP_VARTYPE_ARRAY = 7,
    PP_VARTYPE_DICTIONARY = 8,
    PP_VARTYPE_ARRAY_BUFFER = 9,
    PP_VARTYPE_RESOURCE = 10
} PP_VarType;
PP_COMPILE_ASSERT_SIZE_IN_BYTES(PP_VarType, 4);

union PP_VarValue {
    PP_Bool as_bool;
    int32_t as_int;
    double as_double;
    int64_t as_id;
};

/* Travels in two integer registers, so the union has to hold the integer members. */
struct PP_Var {
    PP_VarType type;
    int32_t padding; /* always 0 */
    union PP_VarValue value;
};
PP_COMPILE_ASSERT_STRUCT_SIZE_IN_BYTES(PP_Var, 16);

PP_INLINE struct PP_Var PP_MakeUndefined(void) {
    struct PP_Var var = {PP_VARTYPE_UNDEFINED, 0, {PP_FALSE}};
    return var;
}

PP_INLINE struct PP_Var PP_MakeNull(void) {
    struct PP_Var var = {PP_VARTYPE_NULL, 0, {PP_FALSE}};
    return var;
}

PP_INLINE struct PP_Var PP_MakeBool(PP_Bool value) {
    struct PP_Var var = {PP_VARTYPE_BOOL, 0, {PP_FALSE}};
    var.value.as_bool = value;
    return var;
}

PP_INLINE struct PP_Var PP_MakeInt32(int32_t value) {
    struct PP_Var var = {PP_VARTYPE_INT32, 0, {PP_FALSE}};
    var.value.as_int = value;
    return var;
}

PP_INLINE struct PP_Var PP_MakeDouble(double value) {
    struct PP_Var var = {PP_VARTYPE_DOUBLE, 0, {PP_FALSE}};
    var.value.as_double = value;
    return var;
}

#endif
