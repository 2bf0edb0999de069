#include "host/var_conversion.h"

#include <cstring>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/var_table.h"

namespace host {
namespace {

Value immediateValue(PP_Var var) {
    switch (var.type) {
        case PP_VARTYPE_NULL:
            return Value::Null{};
        case PP_VARTYPE_BOOL:
            return var.value.as_bool != PP_FALSE;
        case PP_VARTYPE_INT32:
            return var.value.as_int;
        case PP_VARTYPE_DOUBLE:
            return var.value.as_double;
        default:
            return Value::Undefined{};
    }
}

Value bufferValue(const VarContents& contents) {
    const std::uint8_t* bytes = contents.bytes.get();
    return contents.size == 0 ? Value::Buffer{} : Value::Buffer(bytes, bytes + contents.size);
}

PP_Var leafVar(const char* call, const Value& value) {
    VarTable& vars = VarTable::instance();
    switch (value.type()) {
        case Value::Type::Null:
            return PP_MakeNull();
        case Value::Type::Bool:
            return PP_MakeBool(value.asBool() ? PP_TRUE : PP_FALSE);
        case Value::Type::Int32:
            return PP_MakeInt32(value.asInt32());
        case Value::Type::Double:
            return PP_MakeDouble(value.asDouble());
        case Value::Type::String:
            return vars.makeString(Holder::Host, call, value.asString());
        case Value::Type::Buffer: {
            const Value::Buffer& bytes = value.asBuffer();
            const PP_Var var =
                vars.makeBuffer(Holder::Host, call, static_cast<std::uint32_t>(bytes.size()));
            if (var.type == PP_VARTYPE_ARRAY_BUFFER && !bytes.empty()) {
                std::memcpy(vars.bytes(call, var), bytes.data(), bytes.size());
            }
            return var;
        }
        default:
            return PP_MakeUndefined();
    }
}

/// Why a var cannot be converted.
struct Refusal {
    std::string reason;
};

/// Makes a Value of a var and what it contains.
class VarReader {
  public:
    explicit VarReader(const char* call) : m_call(call), m_reader(VarTable::instance()) {}

    /// @param left  levels of containers that may still be opened.
    /// @throws Refusal
    Value read(PP_Var var, std::size_t left) {
        if (var.type < PP_VARTYPE_STRING) return immediateValue(var);
        const VarContents* contents = m_reader.find(m_call, var);
        if (contents == nullptr) throw Refusal{"it contains a dead var"};
        switch (contents->type) {
            case PP_VARTYPE_STRING:
                return contents->text;
            case PP_VARTYPE_ARRAY_BUFFER:
                return bufferValue(*contents);
            case PP_VARTYPE_ARRAY:
            case PP_VARTYPE_DICTIONARY:
                return readContainer(var.value.as_id, *contents, left);
            default:
                throw Refusal{"it contains a resource"};
        }
    }

  private:
    Value readContainer(std::int64_t id, const VarContents& contents, std::size_t left) {
        const auto [met, isNew] = m_met.try_emplace(id);
        if (!isNew && !met->second) throw Refusal{"it contains a cycle"};
        if (!isNew) return *met->second;
        if (left == 0) throw ValueDepthError();
        std::optional<Value>& slot = met->second;  // stays where it is when the map grows
        slot = contents.type == PP_VARTYPE_ARRAY ? readArray(contents, left - 1)
                                                 : readDictionary(contents, left - 1);
        return *slot;
    }

    Value readArray(const VarContents& contents, std::size_t left) {
        Value::Array elements;
        for (const PP_Var& element : contents.elements) elements.push_back(read(element, left));
        return elements;
    }

    Value readDictionary(const VarContents& contents, std::size_t left) {
        Value::Dictionary members;
        for (const auto& [key, member] : contents.members) members.emplace(key, read(member, left));
        return members;
    }

    const char* const m_call;
    VarTable::Reader m_reader;
    // Containers met so far. One without a value is still open: meeting it again is a cycle.
    std::unordered_map<std::int64_t, std::optional<Value>> m_met;
};

/// Makes vars of a Value, each with one reference on the host's account.
class VarMaker {
  public:
    explicit VarMaker(const char* call) : m_call(call) {}

    PP_Var make(const Value& value) {
        if (value.isArray()) return makeOnce(&value.asArray(), value);
        if (value.isDictionary()) return makeOnce(&value.asDictionary(), value);
        return leafVar(m_call, value);
    }

  private:
    PP_Var makeOnce(const void* content, const Value& container) {
        const auto known = m_made.find(content);
        if (known != m_made.end()) {
            m_vars.addRef(Holder::Host, m_call, known->second);
            return known->second;
        }
        const PP_Var var = container.isArray() ? makeArray(container.asArray())
                                               : makeDictionary(container.asDictionary());
        m_made.emplace(content, var);
        return var;
    }

    PP_Var makeArray(const Value::Array& elements) {
        const PP_Var array = m_vars.makeArray(Holder::Host, m_call);
        std::uint32_t index = 0;
        for (const Value& element : elements) {
            const PP_Var var = make(element);
            m_vars.setElement(m_call, array, index++, var);
            m_vars.release(Holder::Host, m_call, var);
        }
        return array;
    }

    PP_Var makeDictionary(const Value::Dictionary& members) {
        const PP_Var dictionary = m_vars.makeDictionary(Holder::Host, m_call);
        for (const auto& [key, member] : members) {
            const PP_Var var = make(member);
            m_vars.setMember(m_call, dictionary, key, var);
            m_vars.release(Holder::Host, m_call, var);
        }
        return dictionary;
    }

    const char* const m_call;
    VarTable& m_vars = VarTable::instance();
    std::unordered_map<const void*, PP_Var> m_made;  // of the containers that are complete
};

}  // namespace

Conversion toValue(const char* call, PP_Var var) {
    try {
        return {VarReader(call).read(var, kMaxValueDepth), ""};
    } catch (const Refusal& refusal) {
        return {std::nullopt, refusal.reason};
    } catch (const ValueDepthError& error) {
        return {std::nullopt, std::string("it is ") + error.what()};
    }
}

PP_Var toVar(const char* call, const Value& value) { return VarMaker(call).make(value); }

}  // namespace host
