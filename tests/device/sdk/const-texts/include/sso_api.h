/* Texts are const char* everywhere. */
#ifndef SSO_API_H_
#define SSO_API_H_

#define SDK_TEXT_BACK const char*
#define SDK_TEXT_OUT const char*
#include "client_library.h"

#endif
