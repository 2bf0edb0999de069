#ifndef PPAPI_C_PP_POINT_H_
#define PPAPI_C_PP_POINT_H_

#include "ppapi/c/pp_macros.h"
#include "ppapi/c/pp_stdint.h"

struct PP_Point {
    int32_t x;
    int32_t y;
};
PP_COMPILE_ASSERT_STRUCT_SIZE_IN_BYTES(PP_Point, 8);

PP_INLINE struct PP_Point PP_MakePoint(int32_t x, int32_t y) {
    struct PP_Point point;
    point.x = x;
    point.y = y;
    return point;
}

#endif
