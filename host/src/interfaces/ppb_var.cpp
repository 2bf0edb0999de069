#include <string_view>

#include "host/var_table.h"
#include "tables.h"

namespace host {
namespace {

void addRef(PP_Var var) { VarTable::instance().addRef(Holder::Module, "PPB_Var.AddRef", var); }

void release(PP_Var var) { VarTable::instance().release(Holder::Module, "PPB_Var.Release", var); }

PP_Var varFromUtf8(const char* data, uint32_t length) {
    const std::string_view text = length == 0 ? std::string_view() : std::string_view(data, length);
    return VarTable::instance().makeString(Holder::Module, "PPB_Var.VarFromUtf8", text);
}

PP_Var varFromUtf8OfModule(PP_Module, const char* data, uint32_t length) {
    return varFromUtf8(data, length);
}

const char* varToUtf8(PP_Var var, uint32_t* length) {
    return VarTable::instance().text("PPB_Var.VarToUtf8", var, length);
}

PP_Resource varToResource(PP_Var var) {
    return VarTable::instance().resource("PPB_Var.VarToResource", var);
}

PP_Var varFromResource(PP_Resource resource) {
    return VarTable::instance().makeResource(Holder::Module, "PPB_Var.VarFromResource", resource);
}

}  // namespace

const PPB_Var_1_0 kVar10 = {addRef, release, varFromUtf8OfModule, varToUtf8};
const PPB_Var_1_1 kVar11 = {addRef, release, varFromUtf8, varToUtf8};
const PPB_Var_1_2 kVar12 = {addRef,    release,       varFromUtf8,
                            varToUtf8, varToResource, varFromResource};

}  // namespace host
