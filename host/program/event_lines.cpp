#include "event_lines.h"

#include <cstdint>

#include "embedder/message_journal.h"

namespace {

using host::Value;

Value numberValue(std::size_t number) {
    if (number <= 0x7fffffff) return static_cast<std::int32_t>(number);
    return static_cast<double>(number);
}

}  // namespace

void EventLines::onEvent(const host::Event& event, const Origin& origin) {
    const bool isAnswer = event.name == "message" || event.name == "reply";
    JsonLines::Fields fields = {{"time", embedder::isoTime(event.time)},
                                {"instance", event.instance}};
    if (origin.line != 0) fields.emplace_back("line", numberValue(origin.line));
    if (isAnswer && !origin.command.empty()) fields.emplace_back("command", origin.command);
    fields.emplace_back(event.name, event.value);
    m_output.write(fields);
}

void EventLines::onError(const Origin& origin, const std::string& reason) {
    m_hadErrors = true;
    Value::Dictionary error = {{"line", numberValue(origin.line)}, {"reason", reason}};
    if (!origin.command.empty()) error["command"] = origin.command;
    m_output.write({{"error", error}});
}
