#include "trace_event.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string_view>

#include "function_name.h"
#include "place.h"

namespace call_trace {
namespace {

using Json = nlohmann::ordered_json;

std::string textOf(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// The format counts in microseconds. A floating-point number would lose the last digits on a
/// device that has been up for months, and calls would no longer enclose each other.
std::string microseconds(std::int64_t ns) {
    constexpr std::int64_t kNsPerUs = 1000;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%lld.%03lld", static_cast<long long>(ns / kNsPerUs),
                  static_cast<long long>(ns % kNsPerUs));
    return text.data();
}

/// Whether a text stands in JSON as it is.
bool isPlain(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char letter) {
        return letter >= ' ' && letter <= '~' && letter != '"' && letter != '\\';
    });
}

// Events are put together as text: there is one for each traced call, and building a tree of values for
// it takes longer than all the rest of the call.

std::string jsonText(std::string_view text) {
    return isPlain(text) ? '"' + std::string(text) + '"' : textOf(text);
}

std::string textsOf(const Call& call) {
    std::string texts;
    for (const auto& text : call.texts.texts()) {
        texts += (texts.empty() ? "" : ",") + (text ? jsonText(*text) : "null");
    }
    return '[' + texts + ']';
}

std::string typesOf(const Call& call) {
    std::string types;
    for (std::size_t i = 0; i < call.typeCount(); ++i) {
        types += std::string(types.empty() ? "" : ",") + R"({"name":)" +
                 jsonText(call.item.typeNames[i]) + R"(,"kind":)" +
                 std::to_string(call.item.kinds[i]) + R"(,"tag":)" +
                 std::to_string(call.item.tags[i]) + '}';
    }
    return '[' + types + ']';
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
    event.append(R"({"ph":"X","ts":)").append(microseconds(call.beginNs));
    event.append(R"(,"dur":)").append(microseconds(call.endNs - call.beginNs));
    event.append(R"(,"name":)").append(jsonText(functionName(location.function)));
    event.append(R"(,"cat":"call","pid":)").append(std::to_string(source.process));
    event.append(R"(,"tid":)").append(std::to_string(source.thread));
    event.append(R"(,"args":{"file":)").append(jsonText(location.file));
    event.append(R"(,"line":)").append(std::to_string(location.line));
    event.append(R"(,"signature":)").append(jsonText(location.function));
    event.append(R"(,"id":)").append(std::to_string(call.place));
    event.append(R"(,"texts":)").append(textsOf(call));
    if (call.item.recordsTypes) {
        event.append(R"(,"types":)").append(typesOf(call));
    }
    return event.append("}}");
}

}  // namespace call_trace
