#ifndef PPAPI_C_PP_ERRORS_H_
#define PPAPI_C_PP_ERRORS_H_

/* Every negative value is a failure, also one that is not listed. */
enum {
    PP_OK = 0,
    PP_OK_COMPLETIONPENDING = -1,      /* the callback will report later */
    PP_ERROR_FAILED = -2,              /* no cause given */
    PP_ERROR_ABORTED = -3,             /* pending operation was cut off */
    PP_ERROR_BADARGUMENT = -4,         /* invalid argument or unknown instance */
    PP_ERROR_BADRESOURCE = -5,         /* resource dead, unknown or of the wrong type */
    PP_ERROR_NOINTERFACE = -6,         /* the browser does not offer the interface */
    PP_ERROR_NOACCESS = -7,            /* privilege missing */
    PP_ERROR_NOMEMORY = -8,            /* out of memory */
    PP_ERROR_INPROGRESS = -11,         /* already under way */
    PP_ERROR_NOTSUPPORTED = -12,       /* not supported */
    PP_ERROR_BLOCKS_MAIN_THREAD = -13, /* would block the main thread */
    PP_ERROR_NO_MESSAGE_LOOP = -51,    /* the thread has no message loop */
    PP_ERROR_WRONG_THREAD = -52,       /* not allowed on this thread */
    PP_ERROR_WOULD_BLOCK_THREAD = -53  /* blocking call inside a blocking message */
};

#endif
