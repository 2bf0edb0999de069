#include "host/var_table.h"
#include "tables.h"

namespace host {
namespace {

PP_Var createDictionary() {
    return VarTable::instance().makeDictionary(Holder::Module, "PPB_VarDictionary.Create");
}

PP_Var get(PP_Var dictionary, PP_Var key) {
    return VarTable::instance().member("PPB_VarDictionary.Get", dictionary, key);
}

PP_Bool set(PP_Var dictionary, PP_Var key, PP_Var value) {
    return PP_FromBool(
        VarTable::instance().setMember("PPB_VarDictionary.Set", dictionary, key, value));
}

void remove(PP_Var dictionary, PP_Var key) {
    VarTable::instance().removeMember("PPB_VarDictionary.Delete", dictionary, key);
}

PP_Bool hasKey(PP_Var dictionary, PP_Var key) {
    return PP_FromBool(VarTable::instance().hasMember("PPB_VarDictionary.HasKey", dictionary, key));
}

PP_Var getKeys(PP_Var dictionary) {
    return VarTable::instance().keys("PPB_VarDictionary.GetKeys", dictionary);
}

}  // namespace

const PPB_VarDictionary_1_0 kVarDictionary10 = {createDictionary, get,    set,
                                                remove,           hasKey, getKeys};

}  // namespace host
