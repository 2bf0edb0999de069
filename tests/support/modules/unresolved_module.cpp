// Needs a function that nobody has.

#include "ppapi/c/ppp.h"

extern "C" const void* functionThatNobodyHas();

int32_t PPP_InitializeModule(PP_Module, PPB_GetInterface) { return 0; }
const void* PPP_GetInterface(const char*) { return functionThatNobodyHas(); }
