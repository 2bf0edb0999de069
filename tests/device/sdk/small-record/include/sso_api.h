/* The login record is smaller, and its members have other names. */
#ifndef SSO_API_H_
#define SSO_API_H_

struct sso_login_info {
    char account[256];
    char number[64];
};
#define SDK_LOGIN_RECORD struct sso_login_info
#include "client_library.h"

#endif
