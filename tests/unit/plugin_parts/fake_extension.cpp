#include "fake_extension.h"

#include "host/var_conversion.h"
#include "host/var_table.h"

namespace {

FakeExtension* g_extension = nullptr;

host::Value valueOf(PP_Var var) { return *host::toValue("fake extension", var).value; }

PP_Var getEmbedderName(PP_Instance instance) {
    g_extension->m_nameAsked.push_back(instance);
    return moduleVar(g_extension->m_name);
}

PP_Var getCurrentExtensionInfo(PP_Instance instance) {
    g_extension->m_infoAsked.push_back(instance);
    return moduleVar(g_extension->m_info);
}

int32_t genericSyncCall(PP_Instance instance, PP_Var operation, PP_Var param, PP_Var* result) {
    g_extension->m_calls.push_back({instance, valueOf(operation), valueOf(param)});
    // A reference comes with success only; releasing the var of a failure is noted by the host.
    *result = g_extension->m_code == 0 ? moduleVar(g_extension->m_result)
                                       : host::toVar("fake extension", g_extension->m_result);
    return g_extension->m_code;
}

const PPB_ExtensionSystem_Korvane_0_1 kTable = {&getEmbedderName, &getCurrentExtensionInfo,
                                                &genericSyncCall};

}  // namespace

FakeExtension::FakeExtension() { g_extension = this; }

FakeExtension::~FakeExtension() { g_extension = nullptr; }

const PPB_ExtensionSystem_Korvane_0_1* FakeExtension::table() const { return &kTable; }

PP_Var moduleVar(const host::Value& value) {
    const PP_Var var = host::toVar("test", value);
    host::VarTable::instance().giveToModule("test", var);
    return var;
}

host::Value takeValue(PP_Var var) {
    const host::Value value = valueOf(var);
    host::VarTable::instance().release(host::Holder::Module, "test", var);
    return value;
}
