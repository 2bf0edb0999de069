#include "ppapi/c/ppp.h"

const void* PPP_GetInterface(const char*) { return nullptr; }
