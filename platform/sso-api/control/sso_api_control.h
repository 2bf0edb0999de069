#ifndef SSO_API_CONTROL_H_
#define SSO_API_CONTROL_H_

#include "sso_api.h"

/* Control of the development SSO client library, for tests. Any thread.
 *
 * There is one observer of each kind, or none. When a call that sets one returns, the former one
 * runs no more, on any thread, and is never called again. So an observer must not set one of its
 * own kind: it would wait for itself. It may run on several threads at once. */

#ifdef __cplusplus
extern "C" {
#endif

/** One call of a function of sso_api.h, valid during the observer's call. */
struct SsoApiCall {
    const char* function;
    const void* window;     /**< of sso_show, else null */
    int flags;              /**< of the popups, else 0 */
    const char* texts[3];   /**< in the order of the arguments; null beyond the last */
    void (*callback)(void); /**< of asynchronous operations, else null */
    void* user_data;        /**< of asynchronous operations, else null */
};

typedef void (*SsoApiObserver)(const struct SsoApiCall* call, void* user);

/** Tells `observer` of every call as it begins, on the calling thread. Null for none. */
void sso_api_control_set_observer(SsoApiObserver observer, void* user);

typedef void (*SsoApiTextObserver)(const char* function, const char* text, void* user);

/** Tells `observer` of every text that an out-parameter is given, before the call returns. The
 * address is the one that the caller gets, and has to release. Null for none. */
void sso_api_control_set_text_observer(SsoApiTextObserver observer, void* user);

/**
 * Replaces the account, as if the library had been loaded with that account file. Operations that
 * are outstanding go on.
 *
 * @param json  the content of an account file; null for nobody, as without a file.
 * @return SSO_OK, or SSO_ERROR_INVALID, with a line on standard error, when it is no account; then
 *         the account is as it was.
 */
int sso_api_control_set_account(const char* json);

/** What start calls return from now on. SSO_ERROR_NOT_STARTED starts nothing; any other value
 * starts the operation. SSO_OK at first. */
void sso_api_control_set_start_result(int result);

/** With a value other than 0, operations that are started from now on do not end by themselves:
 * they wait for sso_api_control_finish. 0 at first. */
void sso_api_control_set_held(int held);

/** What a query gives. A member that is null leaves the out-parameter as the caller set it. */
struct SsoApiAnswer {
    int result;
    const int* state;                  /**< of sso_get_login_state and sso_get_term_state */
    const struct sso_login_info* info; /**< of sso_get_login_info */
    const char* text;                  /**< of sso_get_guid and sso_get_auth_token: handed out as a
                                            copy, also with a result that says failure */
};

/**
 * What a query gives from now on, instead of the account's value.
 *
 * @param function  "sso_get_login_state", "sso_get_term_state", "sso_get_login_info", "sso_get_guid"
 *                  or "sso_get_auth_token".
 * @param answer    copied; null for the account's value again.
 * @return SSO_OK, or SSO_ERROR_INVALID for another function.
 */
int sso_api_control_set_answer(const char* function, const struct SsoApiAnswer* answer);

/** The number of operations that were started and have not called back yet. */
int sso_api_control_outstanding(void);

/** What a callback is told; each kind takes the members that it has arguments for. */
struct SsoApiEnd {
    int result;
    int state;        /**< of popups */
    const char* text; /**< of token and list; may be null */
};

/**
 * Ends an outstanding operation now: its callback runs on the calling thread. The account stays as
 * it is.
 *
 * @param index  0 for the oldest.
 * @param callback_result  gets what the callback returned; may be null.
 * @return SSO_OK, or SSO_ERROR_INVALID when there is no such operation.
 */
int sso_api_control_finish(int index, const struct SsoApiEnd* end, int* callback_result);

#ifdef __cplusplus
}
#endif

#endif
