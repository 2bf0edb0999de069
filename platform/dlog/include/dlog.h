#ifndef DLOG_H_
#define DLOG_H_

#ifdef __cplusplus
extern "C" {
#endif

/** The log service's buffers. */
enum {
    DLOG_BUFFER_MAIN = 0,   /**< applications and their plug-ins */
    DLOG_BUFFER_SYSTEM = 2, /**< what a device's maintainer has to see */
};

/** Priorities, the less urgent first. */
enum {
    DLOG_PRIORITY_INFO = 4,
    DLOG_PRIORITY_WARNING = 5,
};

/**
 * Writes one line to the log. Any thread; lines of several threads do not mix.
 *
 * @param buffer    one of DLOG_BUFFER_*.
 * @param priority  one of DLOG_PRIORITY_*.
 * @param tag       names the writer; copied. Null is taken as "".
 * @param format    as of printf, with its arguments. A line longer than 4095 bytes is cut.
 * @return the number of bytes of the formatted text, 0 for a line that nobody wants, or -1 for a null
 *     or broken format.
 */
/* NOLINTNEXTLINE(bugprone-reserved-identifier): the device's name */
int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif
