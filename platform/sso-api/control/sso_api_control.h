#ifndef SSO_API_CONTROL_H_
#define SSO_API_CONTROL_H_

#include "sso_api.h"

/* Control of the development SSO client library, for tests. Any thread. */

#ifdef __cplusplus
extern "C" {
#endif

/** One call of an asynchronous operation or of sso_give_proxy, valid during the observer's call. */
struct SsoApiCall {
    const char* function;
    const void* window;   /**< of sso_show, else null */
    int flags;            /**< of the popups, else 0 */
    const char* texts[3]; /**< in the order of the arguments; null beyond the last */
    void (*callback)(void);
    void* user_data;
};

typedef void (*SsoApiObserver)(const struct SsoApiCall* call, void* user);

/** Tells `observer` of every such call as it begins, on the calling thread. Null ends it. */
void sso_api_control_set_observer(SsoApiObserver observer, void* user);

/** What start calls return from now on. SSO_ERROR_NOT_STARTED starts nothing; any other value
 * starts the operation. SSO_OK at first. */
void sso_api_control_set_start_result(int result);

/** How popups end by themselves: `delay_ms` milliseconds after their start, in `state`. 200 and
 * SSO_POPUP_COMPLETED at first. Negative: never, they wait for sso_api_control_finish. */
void sso_api_control_set_popup_end(int delay_ms, int state);

/** The number of operations that were started and have not called back yet. */
int sso_api_control_outstanding(void);

/**
 * Ends an outstanding operation now: its callback runs on the calling thread.
 *
 * @param index   0 for the oldest.
 * @param result  the callback's result argument.
 * @param state   the callback's state argument, if it has one.
 * @param callback_result  gets what the callback returned; may be null.
 * @return SSO_OK, or SSO_ERROR_INVALID when there is no such operation.
 */
int sso_api_control_finish(int index, int result, int state, int* callback_result);

#ifdef __cplusplus
}
#endif

#endif
