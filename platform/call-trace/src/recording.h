#ifndef CALL_TRACE_RECORDING_H_
#define CALL_TRACE_RECORDING_H_

#include "call.h"

namespace call_trace {

/// Writes a call that has ended to the process's trace file, if the settings name one. Opens the
/// file with the first one: the library may have been loaded in a process that forks.
///
/// When the file cannot be written to, one line on standard error says so, and all tracing goes off.
///
/// @throws std::bad_alloc
void record(const Call& call);

}  // namespace call_trace

#endif
