#include "trace_event.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "function_name.h"
#include "place.h"

namespace call_trace {
namespace {

using Json = nlohmann::ordered_json;

std::string textOf(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Events are put together as text: there is one for each traced call, and building a tree of values for
// it takes longer than all the rest of the call.

void put(std::string& event, std::int64_t number) {
    std::array<char, 24> digits;
    event.append(digits.data(), std::to_chars(digits.begin(), digits.end(), number).ptr);
}

/// The format counts in microseconds. A floating-point number would lose the last digits on a
/// device that has been up for months, and calls would no longer enclose each other.
void putMicroseconds(std::string& event, std::int64_t ns) {
    constexpr std::int64_t kNsPerUs = 1000;
    put(event, ns / kNsPerUs);
    event += '.';
    for (std::int64_t digit = kNsPerUs / 10; digit > 0; digit /= 10) {
        event += static_cast<char>('0' + ns / digit % 10);
    }
}

/// Whether a text stands in JSON as it is.
bool isPlain(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char letter) {
        return letter >= ' ' && letter <= '~' && letter != '"' && letter != '\\';
    });
}

void putText(std::string& event, std::string_view text) {
    if (isPlain(text)) {
        event.append(1, '"').append(text).append(1, '"');
    } else {
        event += textOf(text);
    }
}

void putTexts(std::string& event, const Call& call) {
    const char* separator = "";
    for (const auto& text : call.texts.texts()) {
        event += std::exchange(separator, ",");
        if (text) {
            putText(event, *text);
        } else {
            event += "null";
        }
    }
}

void putTypes(std::string& event, const Call& call) {
    for (std::size_t i = 0; i < call.typeCount(); ++i) {
        event += i == 0 ? R"({"name":)" : R"(,{"name":)";
        putText(event, call.item.typeNames[i]);
        event += R"(,"kind":)";
        put(event, call.item.kinds[i]);
        event += R"(,"tag":)";
        put(event, call.item.tags[i]);
        event += '}';
    }
}

}  // namespace

std::string nameEvent(const EventSource& source, const char* subject, const char* name) {
    return textOf({{"ph", "M"},
                   {"name", subject},
                   {"pid", source.process},
                   {"tid", source.thread},
                   {"args", {{"name", name}}}});
}

std::string callEvent(const EventSource& source, const Call& call) {
    const Place& location = placeOf(*call.location);
    std::string event;
    event.reserve(512);
    event += R"({"ph":"X","ts":)";
    putMicroseconds(event, call.beginNs);
    event += R"(,"dur":)";
    putMicroseconds(event, call.endNs - call.beginNs);
    event += R"(,"name":)";
    putText(event, functionName(location.function));
    event += R"(,"cat":"call","pid":)";
    put(event, source.process);
    event += R"(,"tid":)";
    put(event, source.thread);
    event += R"(,"args":{"file":)";
    putText(event, location.file);
    event += R"(,"line":)";
    put(event, location.line);
    event += R"(,"signature":)";
    putText(event, location.function);
    event += R"(,"id":)";
    put(event, call.place);
    event += R"(,"texts":[)";
    putTexts(event, call);
    event += ']';
    if (call.item.recordsTypes) {
        event += R"(,"types":[)";
        putTypes(event, call);
        event += ']';
    }
    return event += "}}";
}

}  // namespace call_trace
