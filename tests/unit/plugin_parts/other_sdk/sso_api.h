#ifndef OTHER_SDK_SSO_API_H_
#define OTHER_SDK_SSO_API_H_

/* A client library whose login record is smaller, unnamed, and has members of other names. */

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
    char account[256];
    char number[40];
} account_record_t;

int sso_get_login_info(account_record_t* record);
int sso_get_guid(char** guid);
int sso_get_auth_token(char** token);

#ifdef __cplusplus
}
#endif

#endif
