#include "ppapi/cpp/var.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "ppapi/c/ppb_var.h"
#include "ppapi/cpp/logging.h"
#include "ppapi/cpp/module_impl.h"

namespace pp {
namespace {

template <>
const char* interface_name<PPB_Var_1_2>() {
    return PPB_VAR_INTERFACE_1_2;
}

template <>
const char* interface_name<PPB_Var_1_1>() {
    return PPB_VAR_INTERFACE_1_1;
}

template <>
const char* interface_name<PPB_Var_1_0>() {
    return PPB_VAR_INTERFACE_1_0;
}

/// Calls `use` with the newest table that the browser has.
///
/// @return what `use` gave, or `missing` without any table.
template <typename Result, typename Use>
Result withVars(Result missing, Use use) {
    if (const auto* vars = get_interface<PPB_Var_1_2>()) {
        return use(vars);
    }
    if (const auto* vars = get_interface<PPB_Var_1_1>()) {
        return use(vars);
    }
    if (const auto* vars = get_interface<PPB_Var_1_0>()) {
        return use(vars);
    }
    return missing;
}

PP_Var fromUtf8(const PPB_Var_1_2* vars, const char* data, uint32_t size) {
    return vars->VarFromUtf8(data, size);
}

PP_Var fromUtf8(const PPB_Var_1_1* vars, const char* data, uint32_t size) {
    return vars->VarFromUtf8(data, size);
}

PP_Var fromUtf8(const PPB_Var_1_0* vars, const char* data, uint32_t size) {
    return vars->VarFromUtf8(Module::Get()->pp_module(), data, size);
}

PP_Var makeString(const char* data, size_t size) {
    return withVars(PP_MakeNull(), [&](const auto* vars) {
        return fromUtf8(vars, data, static_cast<uint32_t>(size));
    });
}

bool isCounted(const PP_Var& var) { return var.type > PP_VARTYPE_DOUBLE; }

/// @return false when the browser has no table, so that no reference could be added.
bool addRef(const PP_Var& var) {
    return !isCounted(var) || withVars(false, [&](const auto* vars) {
        vars->AddRef(var);
        return true;
    });
}

void release(const PP_Var& var) {
    if (isCounted(var)) {
        withVars(false, [&](const auto* vars) {
            vars->Release(var);
            return true;
        });
    }
}

}  // namespace

Var::Var() : var_(PP_MakeUndefined()) {}

Var::Var(Null) : var_(PP_MakeNull()) {}

Var::Var(bool value) : var_(PP_MakeBool(PP_FromBool(value))) {}

Var::Var(int32_t value) : var_(PP_MakeInt32(value)) {}

Var::Var(double value) : var_(PP_MakeDouble(value)) {}

Var::Var(const char* utf8) : var_(makeString(utf8, utf8 != nullptr ? std::strlen(utf8) : 0)) {}

Var::Var(const std::string& utf8) : var_(makeString(utf8.data(), utf8.size())) {}

Var::Var(PassRef, const PP_Var& var) : var_(var) {}

Var::Var(const PP_Var& var) : var_(addRef(var) ? var : PP_MakeNull()) {}

Var::Var(const Var& other) : Var(other.var_) {}

Var::~Var() { release(var_); }

Var& Var::operator=(const Var& other) {
    // The new one first: `other` may be this object, or live inside the old container.
    const PP_Var value = addRef(other.var_) ? other.var_ : PP_MakeNull();
    release(var_);
    var_ = value;
    return *this;
}

bool Var::AsBool() const {
    PP_DCHECK(is_bool());
    return is_bool() && PP_ToBool(var_.value.as_bool);
}

int32_t Var::AsInt() const {
    if (is_int()) {
        return var_.value.as_int;
    }
    PP_DCHECK(is_double());
    if (!is_double() || std::isnan(var_.value.as_double)) {
        return 0;
    }
    using Limits = std::numeric_limits<int32_t>;
    return static_cast<int32_t>(
        std::fmin(std::fmax(var_.value.as_double, Limits::min()), Limits::max()));
}

std::string Var::AsString() const {
    if (!is_string()) {
        return std::string();
    }
    return withVars(std::string(), [this](const auto* vars) {
        uint32_t size = 0;
        const char* data = vars->VarToUtf8(var_, &size);
        return data != nullptr ? std::string(data, size) : std::string();
    });
}

PP_Var Var::Detach() {
    const PP_Var var = var_;
    var_ = PP_MakeUndefined();
    return var;
}

}  // namespace pp
