#include "host/var_table.h"
#include "tables.h"

namespace host {
namespace {

PP_Var createArray() {
    return VarTable::instance().makeArray(Holder::Module, "PPB_VarArray.Create");
}

PP_Var get(PP_Var array, uint32_t index) {
    return VarTable::instance().element("PPB_VarArray.Get", array, index);
}

PP_Bool set(PP_Var array, uint32_t index, PP_Var value) {
    return PP_FromBool(VarTable::instance().setElement("PPB_VarArray.Set", array, index, value));
}

uint32_t getLength(PP_Var array) {
    return VarTable::instance().length("PPB_VarArray.GetLength", array);
}

PP_Bool setLength(PP_Var array, uint32_t length) {
    return PP_FromBool(VarTable::instance().setLength("PPB_VarArray.SetLength", array, length));
}

}  // namespace

const PPB_VarArray_1_0 kVarArray10 = {createArray, get, set, getLength, setLength};

}  // namespace host
