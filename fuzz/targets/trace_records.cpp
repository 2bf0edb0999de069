// The tracing stand-in's records: of any texts and any order of scopes the file is JSON, and the calls are told as they
// were made.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "function_name.h"
#include "ht_control.h"
#include "support/bytes.h"
#include "support/require.h"
#include "trace/library.h"
#include "trace/location.h"
#include "trace/store.h"
#include "trace_event.h"
#include "trace_file.h"

namespace {

using fuzz::require;
using nlohmann::json;
using Literal = const char[8];

constexpr std::size_t kMostScopes = 8;

/// A text as a reader of JSON gets it.
std::string asRead(const std::string& text) {
    return json::parse(json(text).dump(-1, ' ', false, json::error_handler_t::replace));
}

// --- the format ---

void checkEvent(fuzz::Bytes& bytes) {
    const std::string file = bytes.text();
    const std::string function = bytes.text(200);
    int id = 0;
    int enabled = 0;
    const TSCodeLocation location = {file.c_str(), static_cast<int>(bytes.number(4)),
                                     function.c_str(), &id, &enabled};
    call_trace::Call call{};
    call.location = &location;
    call.place = static_cast<int>(bytes.number(2));
    call.beginNs = static_cast<std::int64_t>(bytes.number(8) >> 1U);
    call.endNs = call.beginNs;
    std::vector<json> texts;
    for (std::size_t count = bytes.choice(4); count > 0; --count) {
        if (bytes.byte() % 4 == 0) {
            call.texts.WriteNull();
            texts.emplace_back(nullptr);
        } else {
            const std::string text = bytes.text();
            call.texts.Write(text.data(), text.size());
            texts.emplace_back(asRead(text));
        }
    }
    call.item.recordsTypes = bytes.byte() % 2 != 0;
    for (std::size_t count = bytes.choice(3); count > 0; --count) {
        call.item.typeNames.push_back(ht::TSDemangler::Demangle(bytes.text(16).c_str()));
        call.item.kinds.push_back(bytes.byte());
        if (bytes.byte() % 4 != 0) call.item.tags.push_back(trace::kTextTag);
    }

    const std::string name(call_trace::functionName(function));
    require(function.find(name) != std::string::npos, "a name is a part of the signature", name);
    const std::string event = call_trace::callEvent({1, 2}, call);
    require(event.find('\n') == std::string::npos, "an event is one line", event);
    const json read = json::parse(event, nullptr, false);
    require(!read.is_discarded(), "an event is JSON", event);
    require(read["name"] == asRead(name), "an event has the function's name", event);
    require(read["args"]["file"] == asRead(file), "an event has the file", event);
    require(read["args"]["signature"] == asRead(function), "an event has the signature", event);
    require(read["args"]["texts"] == json(texts), "an event has the texts", event);
    require(read["args"].contains("types") == call.item.recordsTypes,
            "an event has types when they are asked for", event);
    const std::string named = call_trace::nameEvent({1, 2}, "thread_name", file.c_str());
    require(json::parse(named)["args"]["name"] == asRead(file), "a thread has its name", named);
}

// --- the file ---

/// A file in memory, with a path.
class MemoryFile {
  public:
    MemoryFile() : m_file(memfd_create("trace", MFD_CLOEXEC)) {
        require(m_file >= 0, "there is memory for a file");
    }
    ~MemoryFile() { close(m_file); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    std::string path() const { return "/proc/self/fd/" + std::to_string(m_file); }
    std::string content() const {
        const off_t size = lseek(m_file, 0, SEEK_END);
        std::string content(static_cast<std::size_t>(size), ' ');
        require(pread(m_file, content.data(), content.size(), 0) == size, "a file can be read");
        return content;
    }

  private:
    int m_file;
};

void checkFile(fuzz::Bytes& bytes) {
    const MemoryFile memory;
    call_trace::TraceFile file(memory.path(), R"("first")");
    json expected = {"first"};
    struct Placed {
        off_t place;
        std::string element;
    };
    std::deque<Placed> unwritten;
    for (std::size_t count = bytes.choice(12); count > 0; --count) {
        const std::string text(bytes.number(2) % 9000, 'a');
        const std::string element = json(text).dump();
        unwritten.push_back({file.placeFor(element.size()), element});
        expected.push_back(text);
        // Others write first sometimes.
        if (bytes.byte() % 2 != 0) continue;
        while (!unwritten.empty()) {
            file.write(unwritten.back().place, unwritten.back().element);
            unwritten.pop_back();
        }
    }
    while (!unwritten.empty()) {
        file.write(unwritten.front().place, unwritten.front().element);
        unwritten.pop_front();
    }
    const json read = json::parse(memory.content(), nullptr, false);
    require(!read.is_discarded(), "the file is JSON", memory.content());
    require(read == expected, "the file has the elements in their order");
}

// --- the calls ---

/// What is to be told of a call.
struct Told {
    std::vector<std::optional<std::string>> texts;
    std::size_t depth = 0;
};
std::vector<Told> g_told;

struct Scope {
    explicit Scope(const TSCodeLocation& location) : container(location) {}
    TCScopeContainer container;
    std::vector<std::optional<std::string>> atOnce;
    std::vector<std::optional<std::string>> later;
};

void checkCalls(fuzz::Bytes& bytes) {
    static const char* const kTexts[] = {"", "text", "\xff\xfe", "line\nend", nullptr};
    static int ids[4] = {};
    static const TSCodeLocation kPlaces[] = {
        {"a.cpp", 1, "void f()", &ids[0], HtLibEnabled()},
        {"b.cpp", 2, "int ns::C::m(int) const", &ids[1], HtLibEnabled()},
        {"", 0, "", &ids[2], HtLibEnabled()},
        {"c.cpp", -1, "operator()(", &ids[3], HtLibEnabled()}};
    g_told.clear();
    ht_control_set_enabled(1);
    HtItemOrders orders{ht::TSCallItemHelper::kWriteLater, 0};
    ht_control_set_item_orders(&orders);
    ht_control_set_call_observer(
        [](const HtCall* call, void*) {
            Told told;
            told.depth = call->depth;
            for (std::size_t i = 0; i < call->textCount; ++i) {
                told.texts.emplace_back(call->texts[i] == nullptr
                                            ? std::nullopt
                                            : std::optional<std::string>(call->texts[i]));
            }
            g_told.push_back(told);
        },
        nullptr);

    std::vector<std::unique_ptr<Scope>> scopes;
    bool mayFail = false;
    const auto close = [&] {
        const std::size_t depth = scopes.size() - 1;
        std::vector<std::optional<std::string>> expected = scopes.back()->atOnce;
        for (const auto& text : scopes.back()->later) expected.push_back(text);
        const std::size_t told = g_told.size();
        scopes.pop_back();
        require(g_told.size() == told + 1, "a call that ends is told of");
        require(g_told.back().depth == depth, "a call has its depth");
        require(mayFail || g_told.back().texts == expected, "a call has its texts");
    };
    for (std::size_t steps = 0; steps < 64 && !bytes.isAtEnd(); ++steps) {
        switch (bytes.choice(6)) {
            case 0:
                if (scopes.size() == kMostScopes) break;
                scopes.push_back(std::make_unique<Scope>(kPlaces[bytes.choice(4)]));
                break;
            case 1:
                if (!scopes.empty()) close();
                break;
            case 2:
            case 3: {
                const char* text = kTexts[bytes.choice(5)];
                if (scopes.empty()) break;
                Scope& scope = *scopes.back();
                const TCScopeHandler handler = TCScopeHandler::Instance(scope.container);
                ht::TSCallItemHelper* item = handler.item();
                require(item->active, "a traced call has an item");
                const auto kept = text == nullptr ? std::nullopt : std::optional<std::string>(text);
                const unsigned flags = item->flags;
                try {
                    scope.container.m_Store<Literal>(item, text);
                    if ((flags & ht::TSCallItemHelper::kWriteAtOnce) != 0) {
                        scope.atOnce.push_back(kept);
                    }
                    if ((flags & ht::TSCallItemHelper::kWriteLater) != 0) {
                        scope.later.push_back(kept);
                    }
                } catch (const std::runtime_error&) {
                    require(mayFail, "a text can be written");
                }
                break;
            }
            case 4:
                orders = {static_cast<unsigned>(bytes.choice(8)),
                          static_cast<int>(bytes.choice(2))};
                ht_control_set_item_orders(&orders);
                break;
            default:
                mayFail = true;
                ht_control_set_failing_write(static_cast<int>(bytes.choice(5)));
        }
        require(ht_control_open_scopes() == scopes.size(), "the open scopes are counted");
    }
    while (!scopes.empty()) close();
    ht_control_set_call_observer(nullptr, nullptr);
    ht_control_set_enabled(0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Bytes bytes(data, size);
    ht_control_set_failing_write(0);  // of an earlier input
    switch (bytes.choice(3)) {
        case 0:
            checkEvent(bytes);
            break;
        case 1:
            checkFile(bytes);
            break;
        default:
            checkCalls(bytes);
    }
    return 0;
}
