#ifndef BROWSER_WRAPPER_VAR_TEXT_H_
#define BROWSER_WRAPPER_VAR_TEXT_H_

#include <optional>
#include <string>

#include "ppapi/c/pp_var.h"
#include "ppapi/c/ppb.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_array.h"
#include "ppapi/c/ppb_var_array_buffer.h"
#include "ppapi/c/ppb_var_dictionary.h"

namespace browser {

/// Reads vars of the browser. Any thread.
class VarText {
  public:
    explicit VarText(PPB_GetInterface getInterface);

    /// As JSON. What JSON lacks is an object with "$type", as sso-host writes it: undefined, NaN,
    /// array buffers.
    std::string json(const PP_Var& var) const;

    /// The text under "command" of a dictionary; empty when there is none.
    std::string command(const PP_Var& var) const;

    /// The number under a key of a dictionary; nothing when there is none.
    std::optional<int> number(const PP_Var& var, const char* key) const;

  private:
    PP_Var member(const PP_Var& dictionary, const char* key) const;
    void append(std::string& out, const PP_Var& var) const;
    void appendDictionary(std::string& out, const PP_Var& var) const;
    void appendBuffer(std::string& out, PP_Var var) const;
    std::string text(const PP_Var& var) const;

    const PPB_Var* m_vars;
    const PPB_VarArray* m_arrays;
    const PPB_VarDictionary* m_dictionaries;
    const PPB_VarArrayBuffer* m_buffers;
};

}  // namespace browser

#endif
