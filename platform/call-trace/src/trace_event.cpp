#include "trace_event.h"

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

Json textsOf(const Call& call) {
    Json texts = Json::array();
    for (const auto& text : call.texts.texts()) {
        texts.push_back(text ? Json(*text) : Json());
    }
    return texts;
}

Json typesOf(const Call& call) {
    Json types = Json::array();
    for (std::size_t i = 0; i < call.typeCount(); ++i) {
        types.push_back({{"name", call.item.typeNames[i]},
                         {"kind", call.item.kinds[i]},
                         {"tag", call.item.tags[i]}});
    }
    return types;
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
    Json arguments = {{"file", location.file},
                      {"line", location.line},
                      {"signature", location.function},
                      {"id", call.place},
                      {"texts", textsOf(call)}};
    if (call.item.recordsTypes) {
        arguments["types"] = typesOf(call);
    }
    const std::string rest = textOf({{"name", std::string(functionName(location.function))},
                                     {"cat", "call"},
                                     {"pid", source.process},
                                     {"tid", source.thread},
                                     {"args", arguments}});
    return R"({"ph":"X","ts":)" + microseconds(call.beginNs) + R"(,"dur":)" +
           microseconds(call.endNs - call.beginNs) + "," + rest.substr(1);
}

}  // namespace call_trace
