#ifndef PPAPI_C_PPB_VAR_DICTIONARY_H_
#define PPAPI_C_PPB_VAR_DICTIONARY_H_

#include "ppapi/c/pp_var.h"

#define PPB_VAR_DICTIONARY_INTERFACE_1_0 "PPB_VarDictionary;1.0"
#define PPB_VAR_DICTIONARY_INTERFACE PPB_VAR_DICTIONARY_INTERFACE_1_0

/* Arguments are borrowed, returned vars carry one reference for the caller. */
struct PPB_VarDictionary_1_0 {
    struct PP_Var (*Create)(void);
    /* Undefined for a missing key, a key that is no string, or no live dictionary. */
    struct PP_Var (*Get)(struct PP_Var dict, struct PP_Var key);
    PP_Bool (*Set)(struct PP_Var dict, struct PP_Var key, struct PP_Var value);
    void (*Delete)(struct PP_Var dict, struct PP_Var key);
    PP_Bool (*HasKey)(struct PP_Var dict, struct PP_Var key);
    /* An array of new strings, ascending by their bytes; a null var for no live dictionary. */
    struct PP_Var (*GetKeys)(struct PP_Var dict);
};
typedef struct PPB_VarDictionary_1_0 PPB_VarDictionary;

#endif
