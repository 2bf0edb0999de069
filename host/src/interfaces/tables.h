#ifndef HOST_SRC_INTERFACES_TABLES_H_
#define HOST_SRC_INTERFACES_TABLES_H_

#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_array.h"
#include "ppapi/c/ppb_var_array_buffer.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/ppb_view.h"

/// The tables that the host offers, one source file per interface.
namespace host {

extern const PPB_Core_1_0 kCore10;
extern const PPB_MessageLoop_1_0 kMessageLoop10;
extern const PPB_Messaging_1_0 kMessaging10;
extern const PPB_Messaging_1_2 kMessaging12;
extern const PPB_Var_1_0 kVar10;
extern const PPB_Var_1_1 kVar11;
extern const PPB_Var_1_2 kVar12;
extern const PPB_VarArray_1_0 kVarArray10;
extern const PPB_VarArrayBuffer_1_0 kVarArrayBuffer10;
extern const PPB_VarDictionary_1_0 kVarDictionary10;
extern const PPB_View_1_0 kView10;

}  // namespace host

#endif
