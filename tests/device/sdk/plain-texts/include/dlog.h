/* Texts are char* everywhere. */
#ifndef DLOG_H_
#define DLOG_H_

#ifdef __cplusplus
extern "C" {
#endif

int __dlog_print(int buffer, int priority, char* tag, char* format, ...);

#ifdef __cplusplus
}
#endif

#endif
