#ifndef CALL_TRACE_PLACE_H_
#define CALL_TRACE_PLACE_H_

#include "ht.h"

namespace call_trace {

/// A TSCodeLocation as the service reads it: the traced library has the type, both agree on what lies
/// where. The library writes its record as that other type, which the compiler is told here.
struct [[gnu::may_alias]] Place {
    const char* file;
    int line;
    const char* function;
    int* id;
    int* enabled;
};

inline const Place& placeOf(const TSCodeLocation& location) {
    return reinterpret_cast<const Place&>(location);
}

}  // namespace call_trace

#endif
