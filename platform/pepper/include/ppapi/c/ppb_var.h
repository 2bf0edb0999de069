#ifndef PPAPI_C_PPB_VAR_H_
#define PPAPI_C_PPB_VAR_H_

#include "ppapi/c/pp_module.h"
#include "ppapi/c/pp_resource.h"
#include "ppapi/c/pp_var.h"

#define PPB_VAR_INTERFACE_1_0 "PPB_Var;1.0"
#define PPB_VAR_INTERFACE_1_1 "PPB_Var;1.1"
#define PPB_VAR_INTERFACE_1_2 "PPB_Var;1.2"
#define PPB_VAR_INTERFACE PPB_VAR_INTERFACE_1_2

struct PPB_Var_1_2 {
    /* Immediate types and dead ids are ignored by both. */
    void (*AddRef)(struct PP_Var var);
    void (*Release)(struct PP_Var var);
    /* A string with one reference for the caller; a null var when the bytes are not UTF-8. */
    struct PP_Var (*VarFromUtf8)(const char* data, uint32_t len);
    /* Points into the var, valid until its last reference goes; null when it is no live string. */
    const char* (*VarToUtf8)(struct PP_Var var, uint32_t* len);
    PP_Resource (*VarToResource)(struct PP_Var var);
    struct PP_Var (*VarFromResource)(PP_Resource resource);
};
typedef struct PPB_Var_1_2 PPB_Var;

struct PPB_Var_1_1 {
    void (*AddRef)(struct PP_Var var);
    void (*Release)(struct PP_Var var);
    struct PP_Var (*VarFromUtf8)(const char* data, uint32_t len);
    const char* (*VarToUtf8)(struct PP_Var var, uint32_t* len);
};

struct PPB_Var_1_0 {
    void (*AddRef)(struct PP_Var var);
    void (*Release)(struct PP_Var var);
    struct PP_Var (*VarFromUtf8)(PP_Module module, const char* data, uint32_t len);
    const char* (*VarToUtf8)(struct PP_Var var, uint32_t* len);
};

#endif
