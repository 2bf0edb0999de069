#ifndef PLUGIN_LOG_H_
#define PLUGIN_LOG_H_

#include "SdkCall.h"
#include "dlog.h"

// The plug-in's log lines: "<file>: <function>(<line>) > <colour><text><reset>".
//
// They are read by people and by tools that count on file, function and line number. The numbers
// are part of that output: they stay when code moves, so a log call names its number.

/// The types of the log service's parameters, as the SDK has them.
using SsoLogParameters = decltype(sdk::parametersOf(&__dlog_print));

// The log service's own numbers: a device's header declares the call, and may name them otherwise.
enum {
    SSO_LOG_BUFFER_MAIN = 0,
    SSO_LOG_BUFFER_SYSTEM = 2,
    SSO_LOG_PRIORITY_INFO = 4,
    SSO_LOG_PRIORITY_WARNING = 5,
};

/// The format of a line of each kind, for a text literal that may hold conversions of its own.
#define SSO_FLOW_FORMAT(text) "%s: %s(%d) > \033[0;32m" text "\033[0;m"
#define SSO_DETAIL_FORMAT(text) "%s: %s(%d) > \033[0;33m" text "\033[0;m"
#define SSO_ERROR_FORMAT(text) "%s: %s(%d) > \033[0;31m" text "\033[0;m"

// Usage: SSO_LOG_x(text, line, arguments of the text...). The file that logs defines kLogTag and
// kLogFile, its own base name. Macros, because each line has its format as one literal and takes
// the name of the function it stands in.

/// The course of things.
#define SSO_LOG_FLOW(text, ...) SSO_LOG_FLOW_AS(SSO_FLOW_FORMAT(text), __VA_ARGS__)
/// What helps to follow it closely.
#define SSO_LOG_DETAIL(text, ...) SSO_LOG_DETAIL_AS(SSO_DETAIL_FORMAT(text), __VA_ARGS__)
/// What went wrong.
#define SSO_LOG_ERROR(text, ...) SSO_LOG_ERROR_IN(__func__, text, __VA_ARGS__)

// For a table that holds the format, or the name of the function that the line is for.
#define SSO_LOG_FLOW_AS(format, ...) \
    SSO_LOG_CALL(SSO_LOG_BUFFER_MAIN, SSO_LOG_PRIORITY_WARNING, format, __func__, __VA_ARGS__)
#define SSO_LOG_DETAIL_AS(format, ...) SSO_LOG_DETAIL_IN(__func__, format, __VA_ARGS__)
#define SSO_LOG_DETAIL_IN(function, format, ...) \
    SSO_LOG_CALL(SSO_LOG_BUFFER_MAIN, SSO_LOG_PRIORITY_INFO, format, function, __VA_ARGS__)
#define SSO_LOG_ERROR_IN(function, text, ...)                                             \
    SSO_LOG_CALL(SSO_LOG_BUFFER_SYSTEM, SSO_LOG_PRIORITY_WARNING, SSO_ERROR_FORMAT(text), \
                 function, __VA_ARGS__)

// The tag and the format stand in casts, and not in a function's arguments: the compiler goes on
// holding the format against what follows it.
#define SSO_LOG_CALL(buffer, priority, format, function, ...)                                    \
    __dlog_print(                                                                                \
        sdk::as<std::tuple_element_t<0, SsoLogParameters>>(buffer),                              \
        sdk::as<std::tuple_element_t<1, SsoLogParameters>>(priority),                            \
        const_cast<std::tuple_element_t<2, SsoLogParameters>>(+kLogTag),                         \
        const_cast<std::tuple_element_t<3, SsoLogParameters>>(static_cast<const char*>(format)), \
        kLogFile, function, __VA_ARGS__)

#endif
