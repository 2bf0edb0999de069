#ifndef CALL_TRACE_FUNCTION_NAME_H_
#define CALL_TRACE_FUNCTION_NAME_H_

#include <string_view>

namespace call_trace {

/// The name of a function with its class, out of its signature as a compiler spells it:
/// "Class::function" of "virtual void Class::function(int) const".
///
/// @return a part of `signature`; all of it when the name cannot be told, as of operators and
///         lambdas.
std::string_view functionName(std::string_view signature);

}  // namespace call_trace

#endif
