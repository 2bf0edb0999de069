#ifndef DLOG_ARGUMENTS_H_
#define DLOG_ARGUMENTS_H_

#include <array>
#include <cstdarg>
#include <cstddef>

namespace dlog {

using Text = std::array<char, 4096>;

/// Keeps what an argument brought into a log line from ending it or steering a terminal: a page has a say in
/// arguments, and must not write lines that the plug-in never wrote. Line breaks become "\\n", other control
/// characters "\\u001b" and the like; what has no room any more is cut. The format's own, its colours, stay.
/// Any thread; allocates nothing.
///
/// @param text  what `format` became with `arguments`,
/// @param size  and how long it would be with room enough.
void escapeArguments(Text& text, std::size_t size, const char* format, va_list arguments);

}  // namespace dlog

#endif
