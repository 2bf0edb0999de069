#ifndef SUPPORT_SANITIZER_H_
#define SUPPORT_SANITIZER_H_

#include <cstddef>

// SSO_SANITIZED is 1 where the address or the thread sanitizer is built in, else 0.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)  // as g++ tells
#define SSO_SANITIZED 1
#elif defined(__has_feature)  // as clang does
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SSO_SANITIZED 1
#endif
#endif
#ifndef SSO_SANITIZED
#define SSO_SANITIZED 0
#endif

#if SSO_SANITIZED
// A sanitizer has taken the process's allocation over, and tells who asks.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void*,
                                                                          std::size_t),
                                                         void (*onFree)(const volatile void*));
#endif

#endif
