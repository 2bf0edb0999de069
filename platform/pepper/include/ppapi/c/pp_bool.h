#ifndef PPAPI_C_PP_BOOL_H_
#define PPAPI_C_PP_BOOL_H_

#include "ppapi/c/pp_macros.h"

/* As wide as in C, where it holds any number. */
#ifdef __cplusplus
typedef enum PP_Bool : int { PP_FALSE = 0, PP_TRUE = 1 } PP_Bool;
#else
typedef enum { PP_FALSE = 0, PP_TRUE = 1 } PP_Bool;
#endif
PP_COMPILE_ASSERT_SIZE_IN_BYTES(PP_Bool, 4);

#ifdef __cplusplus
inline PP_Bool PP_FromBool(bool value) { return value ? PP_TRUE : PP_FALSE; }
/* Anything but PP_FALSE is true: a C module may answer any integer. */
inline bool PP_ToBool(PP_Bool value) { return value != PP_FALSE; }
#endif

#endif
