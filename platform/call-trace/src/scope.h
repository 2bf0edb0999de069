#ifndef CALL_TRACE_SCOPE_H_
#define CALL_TRACE_SCOPE_H_

#include <cstddef>

namespace call_trace {

/// Scopes that are open at the moment, traced or not, on the calling thread.
std::size_t openScopes();

}  // namespace call_trace

#endif
