#ifndef SUPPORT_RECORDER_H_
#define SUPPORT_RECORDER_H_

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "event.h"
#include "sso_api.h"

struct DlogRecord;
struct VconfWithdrawal;
struct SsoApiCall;

namespace support {

/// What the client library got in one call.
struct LibraryCall {
    std::string function;
    const void* window = nullptr;
    int flags = 0;
    /// In the order of the arguments; without those beyond the last.
    std::vector<std::string> texts;
    /// Where they were: good for comparing, and for watching their release during the call.
    std::vector<const void*> textBlocks;
    void (*callback)(void) = nullptr;
    void* userData = nullptr;
    pid_t threadId = 0;

    /// @name The callback, as an operation of that kind gets it
    /// @{
    sso_popup_callback popupCallback() const {
        return reinterpret_cast<sso_popup_callback>(callback);
    }
    sso_text_callback textCallback() const { return reinterpret_cast<sso_text_callback>(callback); }
    sso_result_callback resultCallback() const {
        return reinterpret_cast<sso_result_callback>(callback);
    }
    /// @}
};

/// Listens to all suppliers of the plug-in and keeps one list of its calls, in the order they began.
/// There is one at a time in a process: the suppliers have one observer each. Any thread.
///
/// The browser and the vendor table do not find the recorder by themselves: give onCall() to the
/// host, and the recorder to the RecordingExtension.
class Recorder {
  public:
    Recorder();
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// The hook for PluginHost::Options::onCall; the recorder must outlive the host.
    std::function<void(const std::string&)> onCall();

    /// Takes note of a call on the calling thread, then calls the hook.
    void record(Supplier supplier, const std::string& what);

    /// Calls `hook` after each event was noted, on the event's thread and before the call goes on:
    /// a hook that waits holds the plug-in up. Set it while the plug-in is idle.
    void setHook(std::function<void(const Event&)> hook);

    /// All calls since the last clear(), without the class layer's look-ups of interfaces.
    std::vector<Event> events() const;
    /// Those of one supplier.
    std::vector<Event> events(Supplier supplier) const;
    /// Names of the interfaces that were looked up.
    std::vector<std::string> lookups() const;
    /// Calls of the client library.
    std::vector<LibraryCall> libraryCalls() const;

    /// Takes no more note of the log. Noting a line locks, and so puts threads in an order that they
    /// would not have on a device: races that this hides show without it.
    void ignoreLog();

    /// Forgets what was noted so far.
    void clear();

    /// Waits until there are at least `count` events for which `wanted` holds.
    ///
    /// @return false when that did not happen within a time that no healthy run needs.
    bool waitFor(std::size_t count, const std::function<bool(const Event&)>& wanted) const;

  private:
    static void logged(const DlogRecord* record, void* user);
    static void withdrawn(const VconfWithdrawal* withdrawal, void* user);
    static void called(const SsoApiCall* call, void* user);
    static void handedOut(const char* function, const char* text, void* user);
    static void released(const void* block, void* user);
    void add(Event event, std::optional<LibraryCall> call = std::nullopt);

    /// A text that the client library gave away, and the event of its release.
    struct HandedOutText {
        Recorder& recorder;
        std::string event;
    };

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::vector<Event> m_events;
    std::vector<std::string> m_lookups;
    std::vector<LibraryCall> m_libraryCalls;
    std::list<HandedOutText> m_texts;
    std::function<void(const Event&)> m_hook;
};

}  // namespace support

#endif
