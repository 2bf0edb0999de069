#ifndef PPAPI_C_PP_MACROS_H_
#define PPAPI_C_PP_MACROS_H_

/* The Pepper release that these headers describe. */
#define PPAPI_RELEASE 47

#ifdef __cplusplus
#define PP_INLINE inline
#else
#define PP_INLINE static inline
#endif

/* Stops the build when a type that crosses the C ABI changes its size. */
#ifdef __cplusplus
#define PP_COMPILE_ASSERT_SIZE_IN_BYTES(NAME, SIZE) \
    static_assert(sizeof(NAME) == (SIZE), "size of " #NAME " is part of the ABI")
#define PP_COMPILE_ASSERT_STRUCT_SIZE_IN_BYTES(NAME, SIZE) \
    static_assert(sizeof(struct NAME) == (SIZE), "size of struct " #NAME " is part of the ABI")
#define PP_COMPILE_ASSERT_ENUM_SIZE_IN_BYTES(NAME, SIZE) \
    static_assert(sizeof(enum NAME) == (SIZE), "size of enum " #NAME " is part of the ABI")
#else
#define PP_COMPILE_ASSERT_SIZE_IN_BYTES(NAME, SIZE) \
    _Static_assert(sizeof(NAME) == (SIZE), "size of " #NAME " is part of the ABI")
#define PP_COMPILE_ASSERT_STRUCT_SIZE_IN_BYTES(NAME, SIZE) \
    _Static_assert(sizeof(struct NAME) == (SIZE), "size of struct " #NAME " is part of the ABI")
#define PP_COMPILE_ASSERT_ENUM_SIZE_IN_BYTES(NAME, SIZE) \
    _Static_assert(sizeof(enum NAME) == (SIZE), "size of enum " #NAME " is part of the ABI")
#endif

#endif
