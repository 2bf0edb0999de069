/* Texts are char* everywhere. */
#ifndef SSO_API_H_
#define SSO_API_H_

#define SDK_TEXT_IN char*
#include "client_library.h"

#endif
