#ifndef PPAPI_C_PP_SIZE_H_
#define PPAPI_C_PP_SIZE_H_

#include "ppapi/c/pp_macros.h"
#include "ppapi/c/pp_stdint.h"

struct PP_Size {
    int32_t width;
    int32_t height;
};
PP_COMPILE_ASSERT_STRUCT_SIZE_IN_BYTES(PP_Size, 8);

PP_INLINE struct PP_Size PP_MakeSize(int32_t width, int32_t height) {
    struct PP_Size size;
    size.width = width;
    size.height = height;
    return size;
}

#endif
