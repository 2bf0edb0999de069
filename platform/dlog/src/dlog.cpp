#include "dlog.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <shared_mutex>

#include "dlog_control.h"
#include "log_output.h"

namespace {

struct Sink {
    DlogSink function = nullptr;
    void* user = nullptr;
};

// Shared by the callers, so that a slow sink delays no other thread; exclusive for the change.
std::shared_mutex g_mutex;
Sink g_sink;

}  // namespace

int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...) {
    if (format == nullptr) {
        return -1;
    }
    std::array<char, 4096> text{};
    va_list arguments;
    va_start(arguments, format);
    const int size = std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    if (size < 0) {
        return -1;
    }
    const DlogRecord record{buffer, priority, tag != nullptr ? tag : "", format, text.data()};
    const std::shared_lock lock(g_mutex);
    if (g_sink.function != nullptr) {
        g_sink.function(&record, g_sink.user);
    } else {
        dlog::writeRecord(record);
    }
    return size;
}

void dlog_control_set_sink(DlogSink sink, void* user) {
    const std::unique_lock lock(g_mutex);
    g_sink = Sink{sink, user};
}
