#ifndef PPAPI_C_PP_TIME_H_
#define PPAPI_C_PP_TIME_H_

#include "ppapi/c/pp_macros.h"

/* Seconds since 1970-01-01 00:00 UTC. */
typedef double PP_Time;
PP_COMPILE_ASSERT_SIZE_IN_BYTES(PP_Time, 8);

/* Seconds on a monotonic clock with an arbitrary zero. */
typedef double PP_TimeTicks;
PP_COMPILE_ASSERT_SIZE_IN_BYTES(PP_TimeTicks, 8);

#endif
