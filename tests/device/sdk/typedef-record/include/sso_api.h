/* The login record is a typedef. */
#ifndef SSO_API_H_
#define SSO_API_H_

typedef struct {
    char first[256];
    char second[256];
    char rest[512];
} login_info_s;
#define SDK_LOGIN_RECORD login_info_s
#include "client_library.h"

#endif
