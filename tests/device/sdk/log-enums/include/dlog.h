/* Buffers and priorities are enumerations. */
#ifndef DLOG_H_
#define DLOG_H_

#ifdef __cplusplus
extern "C" {
#endif

typedef enum { LOG_ID_MAIN, LOG_ID_RADIO, LOG_ID_SYSTEM } log_id_t;
typedef enum { LOG_UNKNOWN, LOG_DEFAULT, LOG_VERBOSE, LOG_DEBUG, LOG_INFO, LOG_WARN } log_priority;

int __dlog_print(log_id_t buffer, log_priority priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif
