#ifndef CALL_TRACE_TRACE_EVENT_H_
#define CALL_TRACE_TRACE_EVENT_H_

#include <sys/types.h>

#include <string>

#include "call.h"

namespace call_trace {

/// Whom an event is about, by the system's numbers.
struct EventSource {
    pid_t process;
    pid_t thread;
};

// Events of the Trace Event Format, as JSON on one line. Bytes that are no text are replaced.

/// @param subject  "process_name" or "thread_name".
std::string nameEvent(const EventSource& source, const char* subject, const char* name);

std::string callEvent(const EventSource& source, const Call& call);

}  // namespace call_trace

#endif
