/* The log takes a priority that is no number. */
#ifndef DLOG_H_
#define DLOG_H_

#ifdef __cplusplus
extern "C" {
#endif

struct log_priority {
    int level;
    int facility;
};
int __dlog_print(int buffer, struct log_priority priority, const char* tag, const char* format,
                 ...);

#ifdef __cplusplus
}
#endif

#endif
