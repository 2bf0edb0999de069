#ifndef HOST_VAR_CONVERSION_H_
#define HOST_VAR_CONVERSION_H_

#include <optional>
#include <string>

#include "host/value.h"
#include "ppapi/c/pp_var.h"

namespace host {

/// A var as a page would see it, or why it cannot be sent.
struct Conversion {
    std::optional<Value> value;
    std::string reason;  ///< empty when there is a value: "it contains a cycle", ...
};

/// Copies the content of a var; no reference changes hands. Cycles, dead ids, resources and objects
/// cannot be converted, at any level, nor what is nested deeper than a Value may be. Any thread.
///
/// @param call  names the caller where a dead id is noted; a literal.
Conversion toValue(const char* call, PP_Var var);

/// Makes vars of a value, as a browser does with a page's message: text that is ill-formed UTF-8
/// becomes null, and a container that occurs twice one shared var. Any thread.
///
/// @param call  is noted as the origin; a literal.
/// @return a var with one reference on the host's account, see VarTable.
PP_Var toVar(const char* call, const Value& value);

}  // namespace host

#endif
