#ifndef TRACE_LIBRARY_H_
#define TRACE_LIBRARY_H_

// Registration of this library with the call-tracing service. Each source file that includes this
// adds an entry to the lists of functions that run when the library is loaded and unloaded.

#include "ht.h"

#ifndef SSO_HT_HAS_REGISTRATION  // else the service's own header brings it

/// The cell that switches this library's tracing: 0 off. The service writes to it.
inline int* HtLibEnabled() {
    static int enabled = 0;
    return &enabled;
}

/// Runs at load, once for each entry; the first one registers.
[[gnu::constructor]] inline void HtLibHelperInit() {
    static int libInitialized = 0;
    if (libInitialized != 1) {
        ht_register_library(HtLibEnabled());
        libInitialized = 1;
    }
}

/// Runs at unload, once for each entry; the first one deregisters.
[[gnu::destructor]] inline void HtLibHelperDeinit() {
    static int libDeinitialized = 0;
    if (libDeinitialized != 1) {
        ht_deregister_library(HtLibEnabled());
        libDeinitialized = 1;
    }
}

#endif  // SSO_HT_HAS_REGISTRATION

#endif
