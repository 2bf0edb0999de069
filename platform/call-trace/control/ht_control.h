#ifndef HT_CONTROL_H_
#define HT_CONTROL_H_

#include <cstddef>
#include <cstdint>

#include "ht.h"

/* Control of the development call-tracing service, for tests. Any thread.
 *
 * HT_TRACE in the environment, set and not empty, turns tracing on from the start and names the file
 * that every call is recorded in, in the Trace Event Format: a JSON array. A process that is killed
 * leaves it closed, too, unless the file was just growing: then the "]" may be missing, which viewers
 * of the format do without. HT_TRACE_TYPES=1 next to it records types. Each process has a file of its
 * own: while one has trace.json, another takes trace.<process id>.json. The first traced call opens
 * the file. If that fails, or a later write, one line on standard error says why and the process's
 * tracing goes off.
 *
 * A function that sets an observer returns once no call of the former one is running, so its data may
 * go; not from inside an observer. */

extern "C" {

/** The cells of the libraries that are registered at the moment, in the order of registration.
 *
 * @param cells  gets up to `size` of them.
 * @return how many there are. */
std::size_t ht_control_registered(int** cells, std::size_t size);

/** Tells `observer` of every registration and deregistration, those that change nothing included, on
 * the calling thread. Null ends it. */
void ht_control_set_registration_observer(void (*observer)(int* enabled, bool registered,
                                                           void* user),
                                          void* user);

/** Switches the tracing of all libraries, those that are registered now and those to come, by writing
 * 0 or 1 to their cells. At first: 1 when HT_TRACE is set, else 0. */
void ht_control_set_enabled(int enabled);

/** How items begin from now on. */
struct HtItemOrders {
    unsigned flags;    ///< the flag word; kWriteLater (2) at first
    int recordsTypes;  ///< at first 1 when HT_TRACE_TYPES asks for it, else 0
};
void ht_control_set_item_orders(const struct HtItemOrders* orders);

/** One call that ended, valid during the observer's call. */
struct HtCall {
    const struct TSCodeLocation* location;
    const char* const* texts;  ///< in the order written, those of formatters last; null as null
    std::size_t textCount;
    const char* const* typeNames;
    const std::uint8_t* kinds;
    const std::uint16_t* tags;
    std::size_t typeCount;
    unsigned flags;        ///< the flag word at the end
    std::size_t depth;     ///< 0 for a call that no other traced call of its thread encloses
    std::int64_t beginNs;  ///< on the steady clock
    std::int64_t endNs;
};

/** Tells `observer` of every traced call as it ends, on the thread of the call. Null ends it. Calls
 * are told of whether or not HT_TRACE is set, but only of libraries whose cell is on. */
void ht_control_set_call_observer(void (*observer)(const struct HtCall* call, void* user),
                                  void* user);

/** From now on the items' writer throws std::runtime_error("no room for the text") for the `nth`
 * write, counted from this call, 1 for the next; once. 0 ends it. */
void ht_control_set_failing_write(int nth);

/** Scopes that are open at the moment, traced or not, on the calling thread. */
std::size_t ht_control_open_scopes(void);

/** Tells `observer` of every step of every scope, traced or not, on its thread: "container",
 * "~container", "handler", "~handler" with the location (of handlers: their container's). Null ends
 * it. */
void ht_control_set_step_observer(void (*observer)(const char* step,
                                                   const struct TSCodeLocation* location,
                                                   void* user),
                                  void* user);
}

#endif
