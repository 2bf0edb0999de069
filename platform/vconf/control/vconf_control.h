#ifndef VCONF_CONTROL_H_
#define VCONF_CONTROL_H_

#include "vconf.h"

/* Control of the development configuration store, for tests. Any thread.
 *
 * A function that sets an observer returns once no call of the former one is running, so its data may
 * go; not from inside an observer. */

#ifdef __cplusplus
extern "C" {
#endif

/** One withdrawal, valid during the observer's call. */
struct VconfWithdrawal {
    const char* key;
    vconf_callback callback;
    int result; /**< what the caller gets */
};

typedef void (*VconfObserver)(const struct VconfWithdrawal* withdrawal, void* user);

/** Tells `observer` of every withdrawal, on the calling thread. Null ends it. */
void vconf_control_set_observer(VconfObserver observer, void* user);

/** The number of subscriptions to a key, 0 for an unknown one. */
int vconf_control_subscriptions(const char* key);

#ifdef __cplusplus
}
#endif

#endif
