#ifndef SUPPORT_EVENT_MATCHERS_H_
#define SUPPORT_EVENT_MATCHERS_H_

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "event.h"

namespace support {

using EventMatcher = ::testing::Matcher<const Event&>;
using EventMatchers = std::vector<EventMatcher>;

/// The three kinds of line that the plug-in writes: each has a colour, a buffer and a priority.
enum class Kind { Flow, Detail, Error };

/// Where a line says it comes from.
struct Place {
    const char* file;
    const char* function;
    int line = kAnyLine;
    const char* tag = "QPP_BASE";

    /// The number is free, but it must be a positive one.
    static constexpr int kAnyLine = 0;
};

/// A log line of the plug-in, compared as a whole: buffer, priority, tag, format and text.
///
/// @param format   the message as the format has it, between the colour and its end.
/// @param message  the message as it is printed.
EventMatcher logged(Kind kind, const Place& place, const std::string& format,
                    const std::string& message);
/// The same for a message without arguments of its own.
EventMatcher logged(Kind kind, const Place& place, const std::string& message);

/// A call of one of the other suppliers.
EventMatcher called(Supplier supplier, const std::string& what);

}  // namespace support

#endif
