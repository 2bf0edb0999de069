#ifndef PPAPI_CPP_LOGGING_H_
#define PPAPI_CPP_LOGGING_H_

#include <cassert>

/// For mistakes of a programmer; without effect where NDEBUG is defined.
#define PP_DCHECK(condition) assert(condition)

#endif
