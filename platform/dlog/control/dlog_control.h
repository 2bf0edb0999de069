#ifndef DLOG_CONTROL_H_
#define DLOG_CONTROL_H_

/* Control of the development log service, for tests and hosts.
 *
 * Without a sink each line goes to standard error, or is appended to the file that the environment
 * variable DLOG_FILE names, in the device's format:
 *
 *     11-21 08:15:30.123 W/QPP_BASE( 4711: 4712) [main] text
 *
 * DLOG_LEVEL says what passes: "detail" everything (the default), "flow" priority 5 and above,
 * "silent" nothing. Both variables are read at the first line that the process logs.
 *
 * A function that sets an observer returns once no call of the former one is running, so its data may
 * go; not from inside an observer. */

#ifdef __cplusplus
extern "C" {
#endif

/** One call of __dlog_print, valid during the sink's call. */
struct DlogRecord {
    int buffer;
    int priority;
    const char* tag;
    const char* format; /**< as the caller passed it */
    const char* text;   /**< formatted */
};

typedef void (*DlogSink)(const struct DlogRecord* record, void* user);

/**
 * Sends every call to the observer `sink`, on the calling thread, in place of the output, whatever
 * DLOG_LEVEL says. Null restores the output.
 */
void dlog_control_set_sink(DlogSink sink, void* user);

#ifdef __cplusplus
}
#endif

#endif
