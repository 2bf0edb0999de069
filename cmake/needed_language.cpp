// What the compiler, with the flags from outside, must speak. SsoLanguage.cmake reports the errors.

#if __cplusplus < 201703L
#error "the C++ standard must be C++17 or a later one"
#endif
#ifndef __cpp_exceptions
#error "-fno-exceptions cannot be used: a lack of memory must unwind what was begun"
#endif
#ifndef __cpp_rtti
#error "-fno-rtti cannot be used: the call trace tells values by the names of their types"
#endif
