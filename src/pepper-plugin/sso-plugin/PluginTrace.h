#ifndef PLUGIN_TRACE_H_
#define PLUGIN_TRACE_H_

#include "PluginLog.h"
#include "trace/scope.h"

// Call tracing of the plug-in's functions. Each scope and each further text has its log lines, whether
// or not anybody traces. The file that uses these defines what PluginLog.h asks for.

/// Opens the enclosing function's scope, named `name`, until the end of the function.
///
/// @param line  of the line before, and of the place's record: a number literal.
/// @param doneLine  of the line after.
#define SSO_TRACE_SCOPE(name, line, doneLine) SSO_TRACE_SCOPE_AS(TRACE_SCOPE, name, line, doneLine)

/// The same for a destructor: whatever the service does, the destructor goes on.
#define SSO_TRACE_DESTRUCTOR(name, line, doneLine) \
    SSO_TRACE_SCOPE_AS(TRACE_SCOPE_NOTHROW, name, line, doneLine)

#define SSO_TRACE_SCOPE_AS(scope, name, line, doneLine) \
    SSO_LOG_FLOW("NDL-HT running : " name, line);       \
    scope(traceScope, line, name);                      \
    SSO_LOG_FLOW("NDL-HT done", doneLine)

#endif
