#ifndef HOST_PROGRAM_OUTPUT_H_
#define HOST_PROGRAM_OUTPUT_H_

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "host/value.h"

/// Members of an output line, in order.
using Fields = std::vector<std::pair<std::string, host::Value>>;

/// "2024-05-01T12:00:00.123Z"
std::string isoTime(std::chrono::system_clock::time_point time);

/// Writes one object as a line of standard output, at once.
///
/// @return false when standard output takes no more.
bool writeLine(const Fields& fields);

#endif
