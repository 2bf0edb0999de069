/* A client library that answers at once, on the calling thread: what is measured is the plug-in. */

#include "sso_api.h"

#include <stdlib.h>
#include <string.h>

static int give(char** place, const char* text) {
    *place = strdup(text);
    return *place != NULL ? SSO_OK : SSO_ERROR_UNAVAILABLE;
}

int sso_show(void* window, int flags, const char* page, sso_popup_callback callback,
             void* user_data) {
    (void)window;
    (void)flags;
    (void)page;
    callback(user_data, SSO_OK, SSO_POPUP_COMPLETED);
    return SSO_OK;
}

int sso_show_term_page(const char* terms_id, int flags, const char* caller_id,
                       sso_popup_callback callback, void* user_data) {
    (void)terms_id;
    return sso_show(NULL, flags, caller_id, callback, user_data);
}

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    (void)client_id;
    (void)client_secret;
    char token[] = "access-token-of-a-client";
    callback(user_data, SSO_OK, token);
    return SSO_OK;
}

int sso_get_cp_account_mapping_list(const char* app_id, const char* cp_name,
                                    sso_text_callback callback, void* user_data) {
    (void)app_id;
    (void)cp_name;
    char list[] = "[]";
    callback(user_data, SSO_OK, list);
    return SSO_OK;
}

int sso_add_cp_account_mapping_info(const char* app_id, const char* cp_name, const char* cp_uid,
                                    sso_result_callback callback, void* user_data) {
    (void)app_id;
    (void)cp_name;
    (void)cp_uid;
    callback(user_data, SSO_OK);
    return SSO_OK;
}

int sso_remove_cp_account_mapping_info(const char* app_id, const char* cp_name, const char* cp_uid,
                                       sso_result_callback callback, void* user_data) {
    return sso_add_cp_account_mapping_info(app_id, cp_name, cp_uid, callback, user_data);
}

int sso_get_login_state(int* state) {
    *state = SSO_LOGIN_STATE_SIGNED_IN;
    return SSO_OK;
}

int sso_get_term_state(const char* terms_id, int* state) {
    (void)terms_id;
    *state = SSO_TERM_STATE_AGREED;
    return SSO_OK;
}

int sso_get_login_info(struct sso_login_info* info) {
    strcpy(info->login_id, "robin@user.example");
    strcpy(info->uid, "uid-robin");
    return SSO_OK;
}

int sso_get_guid(char** guid) { return give(guid, "guid-robin"); }

int sso_get_auth_token(char** token) { return give(token, "auth-token-of-robin"); }

int sso_give_proxy(void) { return SSO_OK; }
