/* sso_give_proxy returns nothing. */
#ifndef SSO_API_H_
#define SSO_API_H_

#define SDK_GIVE_PROXY_RESULT void
#include "client_library.h"

#endif
