#ifndef DLOG_LOG_OUTPUT_H_
#define DLOG_LOG_OUTPUT_H_

#include "dlog_control.h"

namespace dlog {

/// Whether lines of that priority are written at all.
bool passes(int priority);

/// Writes one line in the device's format, as one write and without a lock. A record below the level is
/// dropped. Opens nothing before the first record: the library may be loaded in a process that forks.
void writeRecord(const DlogRecord& record);

}  // namespace dlog

#endif
