// Starts, and has no interface at all. It has no PPP_ShutdownModule either, which is optional.

#include "ppapi/c/ppp.h"

int32_t PPP_InitializeModule(PP_Module, PPB_GetInterface) { return 0; }
const void* PPP_GetInterface(const char*) { return nullptr; }
