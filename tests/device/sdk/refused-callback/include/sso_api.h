/* A callback gets its text's length, too. */
#ifndef SSO_API_H_
#define SSO_API_H_

#define SDK_TEXT_BACK int length, char *
#include "client_library.h"

#endif
