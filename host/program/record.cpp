#include "record.h"

#include <algorithm>
#include <iterator>

#include "host/session.h"

namespace {

using host::Value;

constexpr const char* kEvents[] = {"answer",    "reply",        "message", "embedded",
                                   "destroyed", "unregistered", "error"};

}  // namespace

std::optional<Record> readRecord(const Value& object) {
    Record record;
    record.isBlocking = object["path"] == Value("blocking");
    record.isRequest = object.has("request");
    const char* member = record.isRequest ? "request" : "answer";
    const bool hasPath = record.isBlocking || object["path"] == Value("async");
    record.isGone = object["gone"] == Value(true);
    if (!record.isGone && !(hasPath && object.has(member))) return std::nullopt;
    if (!object["instance"].isInt32()) {
        throw host::RequestError("\"instance\" of a record must be a whole number");
    }
    record.instance = object["instance"].asInt32();
    record.value = object[member];
    record.hasPseudonyms = object["pseudonyms"] == Value(true);
    return record;
}

bool isEvent(const Value& object) {
    return std::any_of(std::begin(kEvents), std::end(kEvents),
                       [&](const char* event) { return object.has(event); });
}
