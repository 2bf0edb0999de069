#ifndef CALL_TRACE_CELL_H_
#define CALL_TRACE_CELL_H_

namespace call_trace {

// A library's cell is a plain integer, which any thread may switch while others look at it.

inline bool readCell(const int* cell) { return __atomic_load_n(cell, __ATOMIC_RELAXED) != 0; }

inline void writeCell(int* cell, bool enabled) {
    __atomic_store_n(cell, enabled ? 1 : 0, __ATOMIC_RELAXED);
}

}  // namespace call_trace

#endif
