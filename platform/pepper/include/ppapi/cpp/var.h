#ifndef PPAPI_CPP_VAR_H_
#define PPAPI_CPP_VAR_H_

#include <string>

#include "ppapi/c/pp_var.h"
#include "ppapi/cpp/pass_ref.h"

namespace pp {

/// A value that page and module exchange: one reference on a counted var, or an immediate one.
/// Any thread.
class Var {
  public:
    /// Tag of the null value.
    struct Null {};

    /// Undefined.
    Var();
    // The implicit conversions are Pepper's own API.
    Var(Null);           // NOLINT(google-explicit-constructor)
    Var(bool value);     // NOLINT(google-explicit-constructor)
    Var(int32_t value);  // NOLINT(google-explicit-constructor)
    Var(double value);   // NOLINT(google-explicit-constructor)
    /// A null pointer gives the empty string. Bytes that are not UTF-8 give a null var.
    Var(const char* utf8);         // NOLINT(google-explicit-constructor)
    Var(const std::string& utf8);  // NOLINT(google-explicit-constructor)
    /// Takes over the caller's reference.
    Var(PassRef, const PP_Var& var);
    /// Adds a reference.
    explicit Var(const PP_Var& var);
    Var(const Var& other);
    virtual ~Var();
    virtual Var& operator=(const Var& other);

    bool is_undefined() const { return var_.type == PP_VARTYPE_UNDEFINED; }
    bool is_null() const { return var_.type == PP_VARTYPE_NULL; }
    bool is_bool() const { return var_.type == PP_VARTYPE_BOOL; }
    bool is_int() const { return var_.type == PP_VARTYPE_INT32; }
    bool is_double() const { return var_.type == PP_VARTYPE_DOUBLE; }
    bool is_number() const { return is_int() || is_double(); }
    bool is_string() const { return var_.type == PP_VARTYPE_STRING; }
    bool is_array() const { return var_.type == PP_VARTYPE_ARRAY; }
    bool is_dictionary() const { return var_.type == PP_VARTYPE_DICTIONARY; }
    bool is_array_buffer() const { return var_.type == PP_VARTYPE_ARRAY_BUFFER; }

    /// Another type is a caller's mistake, and gives false.
    bool AsBool() const;
    /// A double is truncated toward zero, and held within int32; NaN gives 0. Another type is a
    /// caller's mistake, and gives 0.
    int32_t AsInt() const;
    /// All bytes, also NUL. Another type gives the empty string.
    std::string AsString() const;

    /// No reference changes hands.
    const PP_Var& pp_var() const { return var_; }
    /// Gives value and reference away and becomes undefined.
    PP_Var Detach();

  protected:
    PP_Var var_;

  private:
    // Not defined: a stray pointer must not turn into `true`.
    Var(void*);  // NOLINT(google-explicit-constructor)
};

}  // namespace pp

#endif
