#ifndef HOST_SRC_HOST_VAR_H_
#define HOST_SRC_HOST_VAR_H_

#include "host/value.h"
#include "ppapi/c/pp_var.h"

namespace host {

/// A var with one reference on the host's account, released at the end.
class HostVar {
  public:
    /// Makes the var; `call` is noted as its origin, a literal.
    HostVar(const char* call, const Value& value);
    ~HostVar();
    HostVar(const HostVar&) = delete;
    HostVar& operator=(const HostVar&) = delete;

    const PP_Var& var() const { return m_var; }

    /// Hands the reference to the module. @return the var, which this object no longer owns.
    PP_Var giveToModule(const char* call);

  private:
    PP_Var m_var;
};

}  // namespace host

#endif
