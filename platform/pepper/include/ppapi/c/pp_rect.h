#ifndef PPAPI_C_PP_RECT_H_
#define PPAPI_C_PP_RECT_H_

#include "ppapi/c/pp_point.h"
#include "ppapi/c/pp_size.h"

struct PP_Rect {
    struct PP_Point point;
    struct PP_Size size;
};
PP_COMPILE_ASSERT_STRUCT_SIZE_IN_BYTES(PP_Rect, 16);

PP_INLINE struct PP_Rect PP_MakeRectFromXYWH(int32_t x, int32_t y, int32_t width, int32_t height) {
    struct PP_Rect rect;
    rect.point = PP_MakePoint(x, y);
    rect.size = PP_MakeSize(width, height);
    return rect;
}

#endif
