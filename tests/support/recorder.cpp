#include "recorder.h"

#include <algorithm>
#include <utility>

#include "dlog_control.h"
#include "free_watch.h"
#include "sso_api_control.h"
#include "thread_signal.h"
#include "thread_tools.h"
#include "vconf_control.h"

namespace support {
namespace {

constexpr const char* kLookup = "GetInterface ";

}  // namespace

Recorder::Recorder() {
    dlog_control_set_sink(&Recorder::logged, this);
    vconf_control_set_observer(&Recorder::withdrawn, this);
    sso_api_control_set_observer(&Recorder::called, this);
    sso_api_control_set_text_observer(&Recorder::handedOut, this);
}

Recorder::~Recorder() {
    sso_api_control_set_text_observer(nullptr, nullptr);
    sso_api_control_set_observer(nullptr, nullptr);
    vconf_control_set_observer(nullptr, nullptr);
    dlog_control_set_sink(nullptr, nullptr);
}

std::function<void(const std::string&)> Recorder::onCall() {
    return [this](const std::string& what) { record(Supplier::Browser, what); };
}

void Recorder::record(Supplier supplier, const std::string& what) {
    Event event;
    event.supplier = supplier;
    event.what = what;
    add(std::move(event));
}

void Recorder::setHook(std::function<void(const Event&)> hook) {
    const std::lock_guard lock(m_mutex);
    m_hook = std::move(hook);
}

std::vector<Event> Recorder::events() const {
    const std::lock_guard lock(m_mutex);
    return m_events;
}

std::vector<Event> Recorder::events(Supplier supplier) const {
    std::vector<Event> found = events();
    found.erase(
        std::remove_if(found.begin(), found.end(),
                       [supplier](const Event& event) { return event.supplier != supplier; }),
        found.end());
    return found;
}

std::vector<std::string> Recorder::lookups() const {
    const std::lock_guard lock(m_mutex);
    return m_lookups;
}

std::vector<LibraryCall> Recorder::libraryCalls() const {
    const std::lock_guard lock(m_mutex);
    return m_libraryCalls;
}

void Recorder::ignoreLog() {
    dlog_control_set_sink([](const DlogRecord*, void*) {}, nullptr);
}

void Recorder::clear() {
    const std::lock_guard lock(m_mutex);
    m_events.clear();
    m_lookups.clear();
    m_libraryCalls.clear();
}

bool Recorder::waitFor(std::size_t count, const std::function<bool(const Event&)>& wanted) const {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, kLongEnough, [&] {
        return static_cast<std::size_t>(std::count_if(m_events.begin(), m_events.end(), wanted)) >=
               count;
    });
}

void Recorder::logged(const DlogRecord* record, void* user) {
    Event event;
    event.supplier = Supplier::Log;
    event.what = record->text;
    event.buffer = record->buffer;
    event.priority = record->priority;
    event.tag = record->tag;
    event.format = record->format;
    static_cast<Recorder*>(user)->add(std::move(event));
}

void Recorder::withdrawn(const VconfWithdrawal* withdrawal, void* user) {
    const char* callback = withdrawal->callback == nullptr ? "null" : "a callback";
    static_cast<Recorder*>(user)->record(
        Supplier::Configuration,
        std::string("vconf_ignore_key_changed(") + withdrawal->key + ", " + callback + ")");
}

void Recorder::called(const SsoApiCall* call, void* user) {
    LibraryCall note;
    note.function = call->function;
    note.window = call->window;
    note.flags = call->flags;
    for (const char* text : call->texts) {
        if (text == nullptr) continue;
        note.texts.emplace_back(text);
        note.textBlocks.push_back(text);
    }
    note.callback = call->callback;
    note.userData = call->user_data;
    note.threadId = thisThreadId();

    Event event;
    event.supplier = Supplier::Library;
    event.what = call->function;
    static_cast<Recorder*>(user)->add(std::move(event), std::move(note));
}

void Recorder::handedOut(const char* function, const char* text, void* user) {
    Recorder& self = *static_cast<Recorder*>(user);
    const std::lock_guard lock(self.m_mutex);
    self.m_texts.push_back({self, std::string("free(") + function + ")"});
    watchFree(text, &Recorder::released, &self.m_texts.back());
}

void Recorder::released(const void*, void* user) {
    const auto* text = static_cast<HandedOutText*>(user);
    text->recorder.record(Supplier::Memory, text->event);
}

void Recorder::add(Event event, std::optional<LibraryCall> call) {
    event.thread = thisThreadName();
    event.threadId = thisThreadId();
    std::function<void(const Event&)> hook;
    {
        const std::lock_guard lock(m_mutex);
        if (event.supplier == Supplier::Browser && event.what.rfind(kLookup, 0) == 0) {
            m_lookups.push_back(event.what.substr(std::string(kLookup).size()));
            return;
        }
        m_events.push_back(event);
        if (call) m_libraryCalls.push_back(std::move(*call));
        hook = m_hook;
    }
    m_changed.notify_all();
    if (hook) hook(event);
}

}  // namespace support
