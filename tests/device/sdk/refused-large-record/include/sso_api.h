/* The login record is larger than the plug-in reserves. */
#ifndef SSO_API_H_
#define SSO_API_H_

struct sso_login_info {
    char login_id[256];
    char uid[256];
    char reserved[1024];
};
#define SDK_LOGIN_RECORD struct sso_login_info
#include "client_library.h"

#endif
