// What the library knows of the account. This device has nobody signed in.

#include "sso_api.h"

static_assert(sizeof(sso_login_info) == 1408, "callers reserve exactly this");

int sso_get_login_state(int* state) {
    if (state == nullptr) {
        return SSO_ERROR_INVALID;
    }
    *state = SSO_LOGIN_STATE_SIGNED_OUT;
    return SSO_OK;
}

int sso_get_term_state(const char* terms_id, int* state) {
    return terms_id == nullptr || state == nullptr ? SSO_ERROR_INVALID : SSO_ERROR_NO_ACCOUNT;
}

int sso_get_login_info(sso_login_info* info) {
    return info == nullptr ? SSO_ERROR_INVALID : SSO_ERROR_NO_ACCOUNT;
}

int sso_get_guid(char** guid) { return guid == nullptr ? SSO_ERROR_INVALID : SSO_ERROR_NO_ACCOUNT; }

int sso_get_auth_token(char** token) {
    return token == nullptr ? SSO_ERROR_INVALID : SSO_ERROR_NO_ACCOUNT;
}
