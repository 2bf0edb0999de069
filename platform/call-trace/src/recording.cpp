#include "recording.h"

#include <pthread.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>

#include "base/never_destroyed.h"
#include "libraries.h"
#include "settings.h"
#include "trace_event.h"
#include "trace_file.h"

namespace call_trace {
namespace {

/// The trace file of this process.
struct Recording {
    std::mutex mutex;
    std::optional<TraceFile> file;  ///< from the first call on
    bool hasFailed = false;
    bool leavesFile = false;  ///< the file is that of the process which this one is a fork of
};

base::NeverDestroyed<Recording> g_recording;

/// trace.json -> trace.4711.json
std::string withProcessId(const std::string& file) {
    const std::filesystem::path path(file);
    return path.parent_path() /
           (path.stem().string() + "." + std::to_string(getpid()) + path.extension().string());
}

void openFile(Recording& recording) {
    const std::string& file = settings().file;
    if (!recording.leavesFile) {
        try {
            recording.file.emplace(file);
            return;
        } catch (const std::system_error& error) {
            if (error.code() != std::errc::operation_would_block) {
                throw;
            }
        }
    }
    recording.file.emplace(withProcessId(file));
}

/// @param threadName  an event that comes before, if it is not empty.
/// @return false when the file has just turned out not to be writable.
bool append(const EventSource& source, const std::string& threadName, const std::string& event) {
    Recording& recording = *g_recording;
    const std::lock_guard lock(recording.mutex);
    if (recording.hasFailed) {
        return true;
    }
    try {
        if (!recording.file) {
            openFile(recording);
            recording.file->append(
                nameEvent(source, "process_name", program_invocation_short_name));
        }
        if (!threadName.empty()) {
            recording.file->append(threadName);
        }
        recording.file->append(event);
        return true;
    } catch (const std::system_error& error) {
        std::fprintf(stderr, "ht: %s\n", error.what());
        recording.file.reset();
        recording.hasFailed = true;
        return false;
    }
}

void holdForFork() {
    (*g_recording).mutex.lock();
    Libraries::instance().mutex().lock();
}

void goOnAfterFork() {
    Libraries::instance().mutex().unlock();
    (*g_recording).mutex.unlock();
}

void beginAfresh() {
    Recording& recording = *g_recording;
    recording.leavesFile = recording.leavesFile || recording.file.has_value();
    recording.file.reset();
    recording.hasFailed = false;
    goOnAfterFork();
}

/// The event that names the calling thread; empty when the trace has it. Threads get their names
/// late; of several names viewers show the last one.
std::string newThreadName(const EventSource& source) {
    struct Noted {
        pid_t thread;  // another one after a fork
        std::array<char, 16> name;
    };
    thread_local Noted t_noted{};
    std::array<char, 16> name{};
    pthread_getname_np(pthread_self(), name.data(), name.size());
    if (t_noted.thread == source.thread && t_noted.name == name) {
        return "";
    }
    t_noted = {source.thread, name};
    return nameEvent(source, "thread_name", name.data());
}

}  // namespace

void record(const Call& call) {
    if (settings().file.empty()) {
        return;
    }
    static const int forkHandlers = pthread_atfork(&holdForFork, &goOnAfterFork, &beginAfresh);
    static_cast<void>(forkHandlers);  // without memory for them, forks have no trace of their own
    const EventSource source{getpid(), gettid()};
    const std::string name = newThreadName(source);
    if (!append(source, name, callEvent(source, call))) {
        Libraries::instance().setEnabled(false);
    }
}

}  // namespace call_trace
