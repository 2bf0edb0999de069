/* The client library's functions in the words of the SDK that includes this: it defines those of the
 * following that it has otherwise. The machine sees the same functions each time. */

#ifndef SDK_TEXT_IN /* texts that are handed in */
#define SDK_TEXT_IN const char*
#endif
#ifndef SDK_TEXT_BACK /* texts that a callback gets */
#define SDK_TEXT_BACK char*
#endif
#ifndef SDK_TEXT_OUT /* texts that are handed over */
#define SDK_TEXT_OUT char*
#endif
#ifndef SDK_POPUP_STATES
#define SDK_POPUP_STATES \
    SSO_POPUP_COMPLETED, SSO_POPUP_CLOSED, SSO_POPUP_FAILED, SSO_POPUP_CANCELLED
#endif
#ifndef SDK_LOGIN_RECORD /* the type; with its definition before this is included, if it is another */
struct sso_login_info {
    char login_id[256];
    char uid[256];
    char reserved[896];
};
#define SDK_LOGIN_RECORD struct sso_login_info
#endif
#ifndef SDK_GIVE_PROXY_RESULT
#define SDK_GIVE_PROXY_RESULT int
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef enum sso_popup_state { SDK_POPUP_STATES } sso_popup_state_e;

typedef int (*sso_popup_callback)(void* user_data, int result, sso_popup_state_e state);
typedef int (*sso_text_callback)(void* user_data, int result, SDK_TEXT_BACK text);
typedef int (*sso_result_callback)(void* user_data, int result);

int sso_show(void* window, int flags, SDK_TEXT_IN page, sso_popup_callback callback,
             void* user_data);
int sso_show_term_page(SDK_TEXT_IN terms_id, int flags, SDK_TEXT_IN caller_id,
                       sso_popup_callback callback, void* user_data);
int sso_request_access_token(SDK_TEXT_IN client_id, SDK_TEXT_IN client_secret,
                             sso_text_callback callback, void* user_data);
int sso_get_cp_account_mapping_list(SDK_TEXT_IN app_id, SDK_TEXT_IN cp_name,
                                    sso_text_callback callback, void* user_data);
int sso_add_cp_account_mapping_info(SDK_TEXT_IN app_id, SDK_TEXT_IN cp_name, SDK_TEXT_IN cp_uid,
                                    sso_result_callback callback, void* user_data);
int sso_remove_cp_account_mapping_info(SDK_TEXT_IN app_id, SDK_TEXT_IN cp_name, SDK_TEXT_IN cp_uid,
                                       sso_result_callback callback, void* user_data);
int sso_get_login_state(int* state);
int sso_get_term_state(SDK_TEXT_IN terms_id, int* state);
int sso_get_login_info(SDK_LOGIN_RECORD* info);
int sso_get_guid(SDK_TEXT_OUT* guid);
int sso_get_auth_token(SDK_TEXT_OUT* token);
SDK_GIVE_PROXY_RESULT sso_give_proxy(void);

#ifdef __cplusplus
}
#endif
