#ifndef TRACE_LOCATION_H_
#define TRACE_LOCATION_H_

#include "ht.h"

#ifndef SSO_HT_HAS_LOCATION  // else the service's own header brings it

/// What the service is told of a traced place. It reads the members by their places in the record, so
/// their order and types stay.
struct TSCodeLocation {
    const char* file;
    int line;
    const char* function;  ///< the signature, as the compiler spells it
    int* id;               ///< the service's number of the place, 0 until it has one
    int* enabled;          ///< this library's cell; filled in when the place is reached first
};

#endif  // SSO_HT_HAS_LOCATION

#endif
