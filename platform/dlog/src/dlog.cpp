#include "dlog.h"

#include <cstdarg>
#include <cstdio>

#include "arguments.h"
#include "base/observer.h"
#include "dlog_control.h"
#include "log_output.h"

namespace {

base::Observer<DlogSink> g_sink;

}  // namespace

int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...) {
    if (format == nullptr) {
        return -1;
    }
    if (!g_sink.isSet() && !dlog::passes(priority)) {
        return 0;
    }
    dlog::Text text;  // not cleared: it is large, and lines are short
    va_list arguments;
    va_start(arguments, format);
    const int size = std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    if (size < 0) {
        return -1;
    }
    const DlogRecord record{buffer, priority, tag != nullptr ? tag : "", format, text.data()};
    if (!g_sink.tell(&record)) {
        va_start(arguments, format);
        dlog::escapeArguments(text, static_cast<std::size_t>(size), format, arguments);
        va_end(arguments);
        dlog::writeRecord(record);
    }
    return size;
}

void dlog_control_set_sink(DlogSink sink, void* user) { g_sink.set(sink, user); }
