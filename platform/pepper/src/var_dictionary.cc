#include "ppapi/cpp/var_dictionary.h"

#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/cpp/logging.h"
#include "ppapi/cpp/module_impl.h"

namespace pp {
namespace {

template <>
const char* interface_name<PPB_VarDictionary_1_0>() {
    return PPB_VAR_DICTIONARY_INTERFACE_1_0;
}

const PPB_VarDictionary_1_0* dictionaries() { return get_interface<PPB_VarDictionary_1_0>(); }

}  // namespace

VarDictionary::VarDictionary()
    : Var(PASS_REF, dictionaries() != nullptr ? dictionaries()->Create() : PP_MakeNull()) {}

VarDictionary::VarDictionary(const Var& var) : Var(var.is_dictionary() ? var : Var(Null())) {
    PP_DCHECK(var.is_dictionary());
}

Var& VarDictionary::operator=(const Var& other) {
    PP_DCHECK(other.is_dictionary());
    return Var::operator=(other.is_dictionary() ? other : Var(Null()));
}

Var VarDictionary::Get(const Var& key) const {
    return dictionaries() != nullptr ? Var(PASS_REF, dictionaries()->Get(var_, key.pp_var()))
                                     : Var();
}

bool VarDictionary::Set(const Var& key, const Var& value) {
    return dictionaries() != nullptr &&
           PP_ToBool(dictionaries()->Set(var_, key.pp_var(), value.pp_var()));
}

bool VarDictionary::HasKey(const Var& key) const {
    return dictionaries() != nullptr && PP_ToBool(dictionaries()->HasKey(var_, key.pp_var()));
}

}  // namespace pp
