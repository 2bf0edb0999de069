#ifndef SSO_API_H_
#define SSO_API_H_

/* The SSO client library: the account that a device is signed in to.
 *
 * All functions may be called on any thread, also from inside a callback. Texts are NUL-terminated
 * UTF-8; those handed in are copied before the call returns.
 *
 * Asynchronous operations (sso_show and the sso_*_cp_*, sso_request_* and sso_show_* functions)
 * return SSO_ERROR_NOT_STARTED when they could not be started, and then never call back. Any other
 * result means started: the callback comes exactly once, on a thread of the library's, with the
 * user data as given. What a callback returns is ignored, and a text that it gets is valid during
 * the call only. */

#ifdef __cplusplus
extern "C" {
#endif

/** Results. Every value but SSO_OK is a failure. */
enum {
    SSO_OK = 0,
    SSO_ERROR_NOT_STARTED = -1, /**< asynchronous: not started, no callback will come */
    SSO_ERROR_NO_ACCOUNT = -2,  /**< nobody is signed in */
    SSO_ERROR_CANCELLED = -3,   /**< callbacks: ended by sso_give_proxy */
    SSO_ERROR_INVALID = -4,     /**< a null pointer, or an empty text where one is needed */
    SSO_ERROR_UNKNOWN = -5,     /**< no such client, terms document or mapping */
    SSO_ERROR_DUPLICATE = -6,   /**< the mapping is there already */
    SSO_ERROR_UNAVAILABLE = -7, /**< the account service cannot be reached */
};

/** The state in which a popup ended. A device's library may have further ones. */
#ifdef __cplusplus
typedef enum sso_popup_state : int {
#else
typedef enum sso_popup_state {
#endif
    SSO_POPUP_COMPLETED = 0, /**< the user went through it */
    SSO_POPUP_CLOSED = 1,    /**< the user closed it */
    SSO_POPUP_FAILED = 2,    /**< it could not be shown to its end */
    SSO_POPUP_CANCELLED = 3, /**< sso_give_proxy took it away */
} sso_popup_state_e;

/** What sso_get_login_state writes. */
enum {
    SSO_LOGIN_STATE_SIGNED_OUT = 0,
    SSO_LOGIN_STATE_SIGNED_IN = 1,
};

/** What sso_get_term_state writes. */
enum {
    SSO_TERM_STATE_NOT_AGREED = 0,
    SSO_TERM_STATE_AGREED = 1,
};

/** The login record. Its texts are NUL-terminated. */
struct sso_login_info {
    char login_id[256]; /**< what the user signs in with */
    char uid[256];      /**< the account's identifier */
    char reserved[896];
};

typedef int (*sso_popup_callback)(void* user_data, int result, sso_popup_state_e state);
typedef int (*sso_text_callback)(void* user_data, int result, char* text);
typedef int (*sso_result_callback)(void* user_data, int result);

/**
 * Shows the login popup, or the page of it that `page` names. A user who goes through it is signed
 * in afterwards. The callback's result is SSO_OK, SSO_ERROR_CANCELLED or SSO_ERROR_UNAVAILABLE.
 *
 * @param window  the window to show it over; null for the library's own.
 * @param flags   0.
 * @param page    "" for the create-account page; otherwise handed to the login page. Not null.
 */
int sso_show(void* window, int flags, const char* page, sso_popup_callback callback,
             void* user_data);

/**
 * Shows a terms document. A user who goes through it has agreed to it afterwards. The callback's
 * result is as that of sso_show().
 *
 * @param flags      0.
 * @param caller_id  the application that asks.
 */
int sso_show_term_page(const char* terms_id, int flags, const char* caller_id,
                       sso_popup_callback callback, void* user_data);

/** Requests an access token for a client. The callback's text is the token; it is null on failure,
 * which is SSO_ERROR_UNKNOWN for a client that is not known or has another secret. */
int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data);

/**
 * Lists the account's mappings with a partner, oldest first. The callback's text is a JSON array of
 * objects with the members "appID", "cpName" and "cpUID"; it is null on failure.
 *
 * @param cp_name  "" for those with all partners.
 */
int sso_get_cp_account_mapping_list(const char* app_id, const char* cp_name,
                                    sso_text_callback callback, void* user_data);

/** Adds a mapping between the account and a user of a partner. The callback's result is
 * SSO_ERROR_INVALID when one of the texts is empty, SSO_ERROR_DUPLICATE when there is that mapping. */
int sso_add_cp_account_mapping_info(const char* app_id, const char* cp_name, const char* cp_uid,
                                    sso_result_callback callback, void* user_data);

/**
 * Removes a mapping. The callback's result is SSO_ERROR_UNKNOWN when there is none to remove.
 *
 * @param cp_uid  "" for all of the application's mappings with the partner.
 */
int sso_remove_cp_account_mapping_info(const char* app_id, const char* cp_name, const char* cp_uid,
                                       sso_result_callback callback, void* user_data);

/** Writes SSO_LOGIN_STATE_* to `state`; on failure it is left alone. */
int sso_get_login_state(int* state);

/** Writes SSO_TERM_STATE_* of a terms document to `state`; on failure it is left alone. That is
 * SSO_ERROR_UNKNOWN for a document that is not known. */
int sso_get_term_state(const char* terms_id, int* state);

/** Fills the caller's record; on failure it is left alone. */
int sso_get_login_info(struct sso_login_info* info);

/** Points `guid` at a copy of the account's GUID, which the caller releases with free(). On failure
 * it is left alone. */
int sso_get_guid(char** guid);

/** Points `token` at a copy of the authentication token, which the caller releases with free(). On
 * failure it is left alone. */
int sso_get_auth_token(char** token);

/**
 * Hands the library's proxy back: ends every outstanding operation of the process. When it returns,
 * callbacks that were running have returned and the others have been called with
 * SSO_ERROR_CANCELLED (popups: SSO_POPUP_CANCELLED); none comes after. From inside a callback it
 * waits for all others. Operations cannot be started while it runs, and can again afterwards.
 *
 * @return SSO_OK.
 */
int sso_give_proxy(void);

#ifdef __cplusplus
}
#endif

#endif
