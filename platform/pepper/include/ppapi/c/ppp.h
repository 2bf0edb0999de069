#ifndef PPAPI_C_PPP_H_
#define PPAPI_C_PPP_H_

#include "ppapi/c/pp_module.h"
#include "ppapi/c/pp_stdint.h"
#include "ppapi/c/ppb.h"

#ifdef __cplusplus
#define PP_EXPORT extern "C" __attribute__((visibility("default")))
#else
#define PP_EXPORT __attribute__((visibility("default")))
#endif

/* The three functions that a module exports. All are called on the module's main thread. */

/* Called once per process. PP_OK, or an error after which the module must answer no interface. */
PP_EXPORT int32_t PPP_InitializeModule(PP_Module module, PPB_GetInterface get_browser_interface);

/* May never be called. */
PP_EXPORT void PPP_ShutdownModule(void);

/* Looks up an interface of the module; null for an unknown name. Must not call the browser, and
 * must always give the same answer for a name. */
PP_EXPORT const void* PPP_GetInterface(const char* interface_name);

typedef int32_t (*PP_InitializeModule_Func)(PP_Module module,
                                            PPB_GetInterface get_browser_interface);
typedef void (*PP_ShutdownModule_Func)(void);
typedef const void* (*PP_GetInterface_Func)(const char* interface_name);

#endif
