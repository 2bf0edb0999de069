#include "ppapi/c/ppp.h"

int32_t PPP_InitializeModule(PP_Module, PPB_GetInterface) { return 0; }
