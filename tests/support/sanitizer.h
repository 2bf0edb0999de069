#ifndef SUPPORT_SANITIZER_H_
#define SUPPORT_SANITIZER_H_

#include <cstddef>

#ifdef __has_feature  // clang tells of its sanitizers so, g++ by a macro for each
#define SSO_HAS_FEATURE(feature) __has_feature(feature)
#else
#define SSO_HAS_FEATURE(feature) 0
#endif

// 1 where the thread sanitizer is built in, else 0.
#if defined(__SANITIZE_THREAD__) || SSO_HAS_FEATURE(thread_sanitizer)
#define SSO_THREAD_SANITIZED 1
#else
#define SSO_THREAD_SANITIZED 0
#endif

// 1 where the address or the thread sanitizer is, else 0.
#if SSO_THREAD_SANITIZED || defined(__SANITIZE_ADDRESS__) || SSO_HAS_FEATURE(address_sanitizer)
#define SSO_SANITIZED 1
#else
#define SSO_SANITIZED 0
#endif

#if SSO_SANITIZED
// A sanitizer has taken the process's allocation over, and tells who asks.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void*,
                                                                          std::size_t),
                                                         void (*onFree)(const volatile void*));
#endif

#endif
