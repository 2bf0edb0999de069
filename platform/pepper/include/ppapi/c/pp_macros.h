#ifndef PPAPI_C_PP_MACROS_H_
#define PPAPI_C_PP_MACROS_H_

/* The Pepper release that these headers describe. */
#define PPAPI_RELEASE 47

#ifdef __cplusplus
#define PP_INLINE inline
#else
#define PP_INLINE static inline
#endif

/* Stop the build when a type that crosses the C ABI changes its size. */
#ifdef __cplusplus
#define PP_COMPILE_ASSERT_SIZE_IN_BYTES(NAME, SIZE) \
    static_assert(sizeof(NAME) == (SIZE), "size of " #NAME " is part of the ABI")
#else
#define PP_COMPILE_ASSERT_SIZE_IN_BYTES(NAME, SIZE) \
    _Static_assert(sizeof(NAME) == (SIZE), "size of " #NAME " is part of the ABI")
#endif
/* NOLINTNEXTLINE(bugprone-macro-parentheses): a struct's tag */
#define PP_COMPILE_ASSERT_STRUCT_SIZE_IN_BYTES(NAME, SIZE) \
    PP_COMPILE_ASSERT_SIZE_IN_BYTES(struct NAME, SIZE)

#endif
