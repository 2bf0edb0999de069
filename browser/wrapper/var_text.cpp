#include "wrapper/var_text.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>

namespace browser {
namespace {

using nlohmann::json;

template <typename Table>
const Table* table(PPB_GetInterface getInterface, const char* name) {
    return static_cast<const Table*>(getInterface(name));
}

std::string quoted(const std::string& text) {
    return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string numberText(double value) {
    if (std::isfinite(value) && !(value == 0 && std::signbit(value))) return json(value).dump();
    const char* name = std::isnan(value) ? "NaN"
                       : value == 0      ? "-0"
                       : value > 0       ? "Infinity"
                                         : "-Infinity";
    return R"({"$type":"double","value":")" + std::string(name) + "\"}";
}

}  // namespace

VarText::VarText(PPB_GetInterface getInterface)
    : m_vars(table<PPB_Var>(getInterface, PPB_VAR_INTERFACE)),
      m_arrays(table<PPB_VarArray>(getInterface, PPB_VAR_ARRAY_INTERFACE)),
      m_dictionaries(table<PPB_VarDictionary>(getInterface, PPB_VAR_DICTIONARY_INTERFACE)),
      m_buffers(table<PPB_VarArrayBuffer>(getInterface, PPB_VAR_ARRAY_BUFFER_INTERFACE)) {}

std::string VarText::text(const PP_Var& var) const {
    std::uint32_t length = 0;
    const char* data = m_vars->VarToUtf8(var, &length);
    return data == nullptr ? std::string() : std::string(data, length);
}

/// One reference for the caller. Undefined for what is no dictionary, and for a key that it lacks.
PP_Var VarText::member(const PP_Var& dictionary, const char* key) const {
    if (dictionary.type != PP_VARTYPE_DICTIONARY) return PP_MakeUndefined();
    const PP_Var name = m_vars->VarFromUtf8(key, static_cast<std::uint32_t>(std::strlen(key)));
    const PP_Var value = m_dictionaries->Get(dictionary, name);
    m_vars->Release(name);
    return value;
}

std::string VarText::command(const PP_Var& var) const {
    const PP_Var value = member(var, "command");
    std::string command = value.type == PP_VARTYPE_STRING ? text(value) : std::string();
    m_vars->Release(value);
    return command;
}

std::optional<int> VarText::number(const PP_Var& var, const char* key) const {
    const PP_Var value = member(var, key);
    if (value.type == PP_VARTYPE_INT32) return value.value.as_int;
    m_vars->Release(value);
    return std::nullopt;
}

std::string VarText::json(const PP_Var& var) const {
    std::string out;
    append(out, var);
    return out;
}

void VarText::append(std::string& out, const PP_Var& var) const {
    switch (var.type) {
        case PP_VARTYPE_NULL:
            out += "null";
            return;
        case PP_VARTYPE_BOOL:
            out += var.value.as_bool == PP_TRUE ? "true" : "false";
            return;
        case PP_VARTYPE_INT32:
            out += std::to_string(var.value.as_int);
            return;
        case PP_VARTYPE_DOUBLE:
            out += numberText(var.value.as_double);
            return;
        case PP_VARTYPE_STRING:
            out += quoted(text(var));
            return;
        case PP_VARTYPE_ARRAY: {
            out += '[';
            const std::uint32_t length = m_arrays->GetLength(var);
            for (std::uint32_t i = 0; i < length; ++i) {
                if (i > 0) out += ',';
                const PP_Var element = m_arrays->Get(var, i);
                append(out, element);
                m_vars->Release(element);
            }
            out += ']';
            return;
        }
        case PP_VARTYPE_DICTIONARY:
            return appendDictionary(out, var);
        case PP_VARTYPE_ARRAY_BUFFER:
            return appendBuffer(out, var);
        default:
            out += R"({"$type":"undefined"})";
    }
}

void VarText::appendDictionary(std::string& out, const PP_Var& var) const {
    out += '{';
    const PP_Var keys = m_dictionaries->GetKeys(var);
    const std::uint32_t length = m_arrays->GetLength(keys);
    for (std::uint32_t i = 0; i < length; ++i) {
        if (i > 0) out += ',';
        const PP_Var key = m_arrays->Get(keys, i);
        const PP_Var value = m_dictionaries->Get(var, key);
        out += quoted(text(key)) + ':';
        append(out, value);
        m_vars->Release(value);
        m_vars->Release(key);
    }
    m_vars->Release(keys);
    out += '}';
}

void VarText::appendBuffer(std::string& out, PP_Var var) const {
    std::uint32_t length = 0;
    const auto* bytes = static_cast<const std::uint8_t*>(m_buffers->Map(var));
    if (bytes == nullptr || m_buffers->ByteLength(var, &length) != PP_TRUE) length = 0;
    out += R"({"$type":"arraybuffer","bytes":[)";
    for (std::uint32_t i = 0; i < length; ++i) {
        if (i > 0) out += ',';
        out += std::to_string(bytes[i]);
    }
    out += "]}";
    if (bytes != nullptr) m_buffers->Unmap(var);
}

}  // namespace browser
