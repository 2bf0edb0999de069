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
#include <utility>

#include "base/never_destroyed.h"
#include "libraries.h"
#include "settings.h"
#include "trace_event.h"
#include "trace_file.h"

namespace call_trace {
namespace {

/// The trace file of this process.
struct Recording {
    std::mutex mutex;               ///< of all here; not held while an event is written
    std::optional<TraceFile> file;  ///< from the first call on; stays while somebody writes
    int writers = 0;
    bool hasFailed = false;   ///< then nothing more is written
    bool leavesFile = false;  ///< the file is that of the process which this one is a fork of
};

base::NeverDestroyed<Recording> g_recording;

/// trace.json -> trace.4711.json
std::string withProcessId(const std::string& file) {
    const std::filesystem::path path(file);
    return path.parent_path() /
           (path.stem().string() + "." + std::to_string(getpid()) + path.extension().string());
}

void openFile(Recording& recording, const std::string& first) {
    const std::string& file = settings().file;
    if (!recording.leavesFile) {
        try {
            recording.file.emplace(file, first);
            return;
        } catch (const std::system_error& error) {
            if (error.code() != std::errc::operation_would_block) {
                throw;
            }
        }
    }
    recording.file.emplace(withProcessId(file), first);
}

/// Somebody who writes: the file stays.
class Writer {
  public:
    explicit Writer(Recording& recording) : m_recording(recording), m_lock(recording.mutex) {
        ++m_recording.writers;
    }
    ~Writer() {
        takeLock();
        if (--m_recording.writers == 0 && m_recording.hasFailed) {
            m_recording.file.reset();
        }
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    /// At first it is taken.
    void leaveLock() { m_lock.unlock(); }
    void takeLock() {
        if (!m_lock.owns_lock()) {
            m_lock.lock();
        }
    }

  private:
    Recording& m_recording;
    std::unique_lock<std::mutex> m_lock;
};

/// @param threadName  an event that comes before, if it is not empty.
/// @return false when the file has just turned out not to be writable.
bool append(const EventSource& source, std::string threadName, std::string event) {
    Recording& recording = *g_recording;
    Writer writer(recording);
    if (recording.hasFailed) {
        return true;
    }
    try {
        if (!recording.file) {
            openFile(recording, nameEvent(source, "process_name", program_invocation_short_name));
        }
        TraceFile& file = *recording.file;
        const off_t namePlace = threadName.empty() ? 0 : file.placeFor(threadName.size());
        const off_t place = file.placeFor(event.size());
        writer.leaveLock();
        if (!threadName.empty()) {
            file.write(namePlace, std::move(threadName));
        }
        file.write(place, std::move(event));
        return true;
    } catch (const std::system_error& error) {
        writer.takeLock();
        if (recording.hasFailed) {
            return true;  // another thread was faster
        }
        std::fprintf(stderr, "ht: %s\n", error.what());
        recording.hasFailed = true;
        return false;
    }
}

/// The calling thread, asked for once; a fork's only thread is told in beginAfresh().
thread_local EventSource t_source{0, 0};

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
    recording.writers = 0;  // they are threads of the other process
    recording.hasFailed = false;
    t_source = EventSource{0, 0};
    goOnAfterFork();
}

/// The event that names the calling thread; empty when the trace has it. Threads get their names
/// late, so it is asked for with each call that no other encloses; of several names viewers show the last
/// one.
std::string newThreadName(const EventSource& source, const Call& call) {
    struct Noted {
        pid_t thread;  // another one after a fork
        std::array<char, 16> name;
    };
    thread_local Noted t_noted{};
    if (t_noted.thread == source.thread && call.enclosing != nullptr) {
        return "";
    }
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
    if (t_source.process == 0) {
        t_source = {getpid(), gettid()};
    }
    if (!append(t_source, newThreadName(t_source, call), callEvent(t_source, call))) {
        Libraries::instance().setEnabled(false);
    }
}

}  // namespace call_trace
