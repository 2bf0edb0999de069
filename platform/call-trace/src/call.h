#ifndef CALL_TRACE_CALL_H_
#define CALL_TRACE_CALL_H_

#include <cstddef>
#include <cstdint>

#include "ht.h"
#include "text_list.h"

namespace call_trace {

/// One traced call. Only its thread uses it.
struct Call {
    const TSCodeLocation* location;
    int place;             ///< the location's number
    Call* enclosing;       ///< of the same thread; null for none
    std::size_t depth;     ///< the number of calls that enclose it
    std::int64_t beginNs;  ///< on the steady clock
    std::int64_t endNs;
    TextList texts;
    ht::TSCallItemHelper item;

    /// How many types are recorded: a store that failed half-way may have left the item's sequences
    /// unequal.
    std::size_t typeCount() const;
};

/// Makes a call the current one of the calling thread.
///
/// @return null when there is no memory; then the call is not traced.
Call* beginCall(const TSCodeLocation& location) noexcept;

/// Ends the current call of the calling thread, tells of it, and releases it.
void endCall(Call* call) noexcept;

}  // namespace call_trace

#endif
