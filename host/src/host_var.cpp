#include "host_var.h"

#include "host/var_conversion.h"
#include "host/var_table.h"

namespace host {

HostVar::HostVar(const char* call, const Value& value) : m_var(toVar(call, value)) {}

HostVar::~HostVar() { VarTable::instance().release(Holder::Host, "end of a page message", m_var); }

PP_Var HostVar::giveToModule(const char* call) {
    const PP_Var var = m_var;
    VarTable::instance().giveToModule(call, var);
    m_var = PP_MakeUndefined();
    return var;
}

}  // namespace host
