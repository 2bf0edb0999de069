/* Texts that are handed in are bytes. */
#ifndef SSO_API_H_
#define SSO_API_H_

#define SDK_TEXT_IN const unsigned char*
#include "client_library.h"

#endif
