#ifndef SUPPORT_BROWSER_TABLES_H_
#define SUPPORT_BROWSER_TABLES_H_

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/browser_interfaces.h"
#include "host/value.h"
#include "host/var_conversion.h"
#include "host/var_table.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_array.h"
#include "ppapi/c/ppb_var_array_buffer.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/ppb_view.h"

/// The host's interfaces as a module calls them.
namespace support {

template <typename Table>
const Table& browserTable(const char* name) {
    const void* table = host::browserInterface(name);
    if (table == nullptr) throw std::logic_error(std::string("the host has no ") + name);
    return *static_cast<const Table*>(table);
}

inline const PPB_Core& core() { return browserTable<PPB_Core>(PPB_CORE_INTERFACE); }
inline const PPB_Var& vars() { return browserTable<PPB_Var>(PPB_VAR_INTERFACE); }
inline const PPB_VarDictionary& dictionaries() {
    return browserTable<PPB_VarDictionary>(PPB_VAR_DICTIONARY_INTERFACE);
}
inline const PPB_VarArray& arrays() { return browserTable<PPB_VarArray>(PPB_VAR_ARRAY_INTERFACE); }
inline const PPB_VarArrayBuffer& buffers() {
    return browserTable<PPB_VarArrayBuffer>(PPB_VAR_ARRAY_BUFFER_INTERFACE);
}
inline const PPB_MessageLoop& loops() {
    return browserTable<PPB_MessageLoop>(PPB_MESSAGELOOP_INTERFACE);
}
inline const PPB_Messaging& messaging() {
    return browserTable<PPB_Messaging>(PPB_MESSAGING_INTERFACE);
}
inline const PPB_View_1_0& views() { return browserTable<PPB_View_1_0>(PPB_VIEW_INTERFACE_1_0); }

/// A new string; one reference for the caller.
inline PP_Var text(std::string_view bytes) {
    return vars().VarFromUtf8(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

/// Nothing when the var is no live string.
inline std::optional<std::string> textOf(const PP_Var& var) {
    std::uint32_t length = 0;
    const char* data = vars().VarToUtf8(var, &length);
    if (data == nullptr) return std::nullopt;
    return std::string(data, length);
}

/// A value as vars that the module owns; one reference for the caller.
inline PP_Var moduleVar(const host::Value& value) {
    const PP_Var var = host::toVar("test", value);
    host::VarTable::instance().giveToModule("test", var);
    return var;
}

/// Content of a var. @throws std::bad_optional_access  when it cannot be converted.
inline host::Value valueOf(const PP_Var& var) { return host::toValue("test", var).value.value(); }

/// valueOf() for a var whose reference the caller gives away.
inline host::Value takeValue(const PP_Var& var) {
    host::Value value = valueOf(var);
    vars().Release(var);
    return value;
}

/// A counted var with an id of one's choice.
inline PP_Var forgedVar(PP_VarType type, std::int64_t id) {
    PP_Var var = PP_MakeUndefined();
    var.type = type;
    var.value.as_id = id;
    return var;
}

}  // namespace support

#endif
