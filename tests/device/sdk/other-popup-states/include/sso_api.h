/* The popup state has other enumerators, and more of them. */
#ifndef SSO_API_H_
#define SSO_API_H_

#define SDK_POPUP_STATES \
    LOGIN_POPUP_DONE, LOGIN_POPUP_BACK, LOGIN_POPUP_HOME = 7, LOGIN_POPUP_TIMEOUT = 100
#include "client_library.h"

#endif
