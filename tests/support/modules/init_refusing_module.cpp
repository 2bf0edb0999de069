#include "ppapi/c/ppp.h"

int32_t PPP_InitializeModule(PP_Module, PPB_GetInterface) { return -8; }
void PPP_ShutdownModule() {}
const void* PPP_GetInterface(const char*) { return nullptr; }
