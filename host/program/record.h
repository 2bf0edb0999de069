#ifndef HOST_PROGRAM_RECORD_H_
#define HOST_PROGRAM_RECORD_H_

#include <cstdint>
#include <optional>

#include "host/value.h"

/// A line that --messages writes: a request, an answer, or that an instance has gone and owes answers.
struct Record {
    bool isRequest = false;
    bool isBlocking = false;
    bool isGone = false;        ///< without a value
    std::int32_t instance = 0;  ///< its number in the run of which this is a record
    host::Value value;
    bool hasPseudonyms = false;
};

/// @return nothing for an object that is none.
/// @throws host::RequestError  for one that lacks its instance.
std::optional<Record> readRecord(const host::Value& object);

/// Whether an object is one of the other lines that this program writes.
bool isEvent(const host::Value& object);

#endif
