// Vars of any shape, and values of any, through the host's conversion both ways. Beside it goes a count of the
// references that the module has, which the host's has to equal.
#include <utf8.h>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "host/value.h"
#include "host/value_json.h"
#include "host/var_conversion.h"
#include "host/var_table.h"
#include "support/bytes.h"
#include "support/require.h"

namespace {

using host::Holder;
using host::Value;
using host::VarTable;

constexpr const char* kCall = "fuzz";
constexpr std::size_t kMostVars = 64;
constexpr std::size_t kDeepest = 40;

/// A module that does with vars what the input says, right or wrong.
class Module {
  public:
    explicit Module(fuzz::Bytes& bytes) : m_bytes(bytes) {}

    void run() {
        while (!m_bytes.isAtEnd()) {
            step();
            if (m_vars.size() > kMostVars) m_vars.erase(m_vars.begin(), m_vars.begin() + 16);
        }
        requireReferences();
    }

    const std::vector<PP_Var>& vars() const { return m_vars; }

    /// Gives every reference back that it has.
    void releaseAll() {
        for (const auto& [id, reference] : m_references) {
            for (int i = 0; i < reference.count; ++i) {
                m_table.release(Holder::Module, kCall, reference.var);
            }
        }
        m_references.clear();
        requireReferences();
    }

  private:
    struct Reference {
        PP_Var var;
        int count;
    };

    static bool isCounted(PP_Var var) { return var.type >= PP_VARTYPE_STRING; }

    PP_Var owned(PP_Var var) {
        if (isCounted(var))
            ++m_references.try_emplace(var.value.as_id, Reference{var, 0}).first->second.count;
        m_vars.push_back(var);
        return var;
    }

    void given(PP_Var var) {
        if (!isCounted(var)) return;
        const auto found = m_references.find(var.value.as_id);
        // Under another type's tag it is none of the module's.
        if (found == m_references.end() || found->second.var.type != var.type) return;
        if (--found->second.count == 0) m_references.erase(found);
    }

    PP_Var any() {
        const std::size_t which = m_bytes.choice(m_vars.size() + 1);
        return which < m_vars.size() ? m_vars[which] : PP_MakeUndefined();
    }

    PP_Var immediate() {
        switch (m_bytes.choice(5)) {
            case 0:
                return PP_MakeUndefined();
            case 1:
                return PP_MakeNull();
            case 2:
                return PP_MakeBool(m_bytes.byte() % 2 != 0 ? PP_TRUE : PP_FALSE);
            case 3:
                return PP_MakeInt32(static_cast<std::int32_t>(m_bytes.number(4)));
            default:
                return PP_MakeDouble(static_cast<double>(m_bytes.number(8)) / 3);
        }
    }

    /// An id that is nobody's, or a var under another type's tag.
    PP_Var forged() {
        PP_Var var = any();
        var.type = static_cast<PP_VarType>(m_bytes.choice(PP_VARTYPE_RESOURCE + 4));
        if (m_bytes.byte() % 2 != 0) var.value.as_id = static_cast<std::int64_t>(m_bytes.number(2));
        return var;
    }

    void step() {
        switch (m_bytes.choice(20)) {
            case 0:
                owned(m_table.makeString(Holder::Module, kCall, m_bytes.text()));
                return;
            case 1:
                owned(m_table.makeArray(Holder::Module, kCall));
                return;
            case 2:
                owned(m_table.makeDictionary(Holder::Module, kCall));
                return;
            case 3: {
                const PP_Var buffer = owned(m_table.makeBuffer(
                    Holder::Module, kCall, static_cast<std::uint32_t>(m_bytes.choice(40))));
                std::uint32_t size = 0;
                fuzz::require(m_table.byteLength(kCall, buffer, &size), "a buffer has a length");
                auto* content = static_cast<std::uint8_t*>(m_table.bytes(kCall, buffer));
                for (std::uint32_t i = 0; i < size; ++i) content[i] = m_bytes.byte();
                return;
            }
            case 4:
                m_vars.push_back(immediate());
                return;
            case 5:
                m_vars.push_back(forged());
                return;
            case 6: {
                const PP_Var var = any();
                const bool lives = isLive(var);
                m_table.addRef(Holder::Module, kCall, var);
                if (lives && isCounted(var)) owned(var);
                return;
            }
            case 7: {
                const PP_Var var = any();
                m_table.release(Holder::Module, kCall, var);
                given(var);
                return;
            }
            case 8:
            case 9: {
                const PP_Var array = any();
                const auto index = static_cast<std::uint32_t>(m_bytes.choice(6));
                const bool done = m_table.setElement(kCall, array, index, any());
                fuzz::require(!done || m_table.length(kCall, array) > index || !isLive(array),
                              "an array has the element that it was given");
                return;
            }
            case 10:
                owned(m_table.element(kCall, any(), static_cast<std::uint32_t>(m_bytes.choice(6))));
                return;
            case 11: {
                const PP_Var array = any();
                m_table.setLength(kCall, array,
                                  m_bytes.byte() % 16 == 0
                                      ? static_cast<std::uint32_t>(m_bytes.number(4)) | 1U << 25U
                                      : static_cast<std::uint32_t>(m_bytes.choice(10)));
                return;
            }
            case 12:
            case 13: {
                const PP_Var dictionary = any();
                const PP_Var key = any();
                if (m_table.setMember(kCall, dictionary, key, any()) && isLive(dictionary) &&
                    isLive(key)) {
                    fuzz::require(m_table.hasMember(kCall, dictionary, key),
                                  "a dictionary has the member that it was given");
                }
                return;
            }
            case 14:
                owned(m_table.member(kCall, any(), any()));
                return;
            case 15: {
                const PP_Var dictionary = any();
                const PP_Var key = any();
                m_table.removeMember(kCall, dictionary, key);
                fuzz::require(!m_table.hasMember(kCall, dictionary, key),
                              "a dictionary has no member that was removed");
                return;
            }
            case 16:
                owned(m_table.keys(kCall, any()));
                return;
            case 17: {
                const PP_Var var = any();
                if (m_table.takeFromModule(kCall, var) && isCounted(var)) {
                    given(var);
                    m_table.release(Holder::Host, kCall, var);
                }
                return;
            }
            case 18: {
                std::uint32_t length = 0;
                const char* text = m_table.text(kCall, any(), &length);
                fuzz::require(text == nullptr || text[length] == '\0', "a text ends with a NUL");
                return;
            }
            default:
                requireReferences();
        }
    }

    bool isLive(PP_Var var) {
        if (!isCounted(var)) return true;
        VarTable::Reader reader(m_table);
        return reader.find(kCall, var) != nullptr;
    }

    void requireReferences() {
        const auto held = m_table.moduleHeldVars();
        fuzz::require(held.size() == m_references.size(), "the host counts what the module holds",
                      std::to_string(held.size()) + ", not " + std::to_string(m_references.size()));
        for (const host::HeldVar& var : held) {
            const auto found = m_references.find(var.id);
            fuzz::require(found != m_references.end() && found->second.count == var.references,
                          "the host counts each reference", var.preview);
        }
    }

    fuzz::Bytes& m_bytes;
    VarTable& m_table = VarTable::instance();
    std::vector<PP_Var> m_vars;
    std::map<std::int64_t, Reference> m_references;
};

/// What a page might send.
Value makeValue(fuzz::Bytes& bytes, std::vector<Value>& made, std::size_t left) {
    const std::size_t kind = bytes.choice(10);
    Value value;
    switch (kind) {
        case 0:
            break;
        case 1:
            value = Value::Null{};
            break;
        case 2:
            value = bytes.byte() % 2 != 0;
            break;
        case 3:
            value = static_cast<std::int32_t>(bytes.number(4));
            break;
        case 4: {
            constexpr double kOdd[] = {0.0, -0.0, 1.5, 1e300, 4294967296.0};
            const std::size_t which = bytes.choice(8);
            value = which < 5    ? kOdd[which]
                    : which == 5 ? std::numeric_limits<double>::quiet_NaN()
                                 : std::numeric_limits<double>::infinity();
            break;
        }
        case 5:
            value = bytes.text();
            break;
        case 6: {
            Value::Buffer buffer(bytes.choice(20));
            for (std::uint8_t& byte : buffer) byte = bytes.byte();
            value = buffer;
            break;
        }
        case 7: {
            Value::Array array;
            for (std::size_t size = left == 0 ? 0 : bytes.choice(6); size > 0; --size) {
                array.push_back(makeValue(bytes, made, left - 1));
            }
            value = array;
            break;
        }
        case 8: {
            Value::Dictionary members;
            for (std::size_t size = left == 0 ? 0 : bytes.choice(6); size > 0; --size) {
                const std::string key = bytes.text(8);
                members[key] = makeValue(bytes, made, left - 1);
            }
            value = members;
            break;
        }
        default:
            if (!made.empty()) value = made[bytes.choice(made.size())];  // shared
            return value;
    }
    if (made.size() < kMostVars) made.push_back(value);
    return value;
}

/// A value as a plug-in gets it: text that is ill-formed becomes null.
Value asSent(const Value& value) {
    if (value.isString() && !utf8::is_valid(value.asString())) return Value::Null{};
    if (value.isArray()) {
        Value::Array array;
        for (const Value& element : value.asArray()) array.push_back(asSent(element));
        return array;
    }
    if (value.isDictionary()) {
        Value::Dictionary members;
        for (const auto& [key, member] : value.asDictionary()) members[key] = asSent(member);
        return members;
    }
    return value;
}

bool hasOnlyValidKeys(const Value& value) {
    if (value.isArray()) {
        for (const Value& element : value.asArray()) {
            if (!hasOnlyValidKeys(element)) return false;
        }
    }
    if (value.isDictionary()) {
        for (const auto& [key, member] : value.asDictionary()) {
            if (!utf8::is_valid(key) || !hasOnlyValidKeys(member)) return false;
        }
    }
    return true;
}

void requireBothWays(const Value& value) {
    VarTable& table = VarTable::instance();
    const PP_Var var = host::toVar(kCall, value);
    const host::Conversion back = host::toValue(kCall, var);
    fuzz::require(back.value.has_value(), "what was made of a value is one", back.reason);
    const Value sent = asSent(value);
    fuzz::require(*back.value == sent, "a value comes back as it was",
                  host::writeJson(*back.value));
    table.release(Holder::Host, kCall, var);
    std::ostringstream shown;
    shown << value;
    fuzz::require(shown.str().find('\n') == std::string::npos, "a value is shown on one line");
    fuzz::require(value.has("a") == (value.isDictionary() && value.asDictionary().count("a") != 0),
                  "a value has its members");
    fuzz::require(value["a"].isUndefined() || value.has("a"), "no value has others");
    fuzz::require(value.at(0).isUndefined() || value.isArray(), "only arrays have elements");
    if (hasOnlyValidKeys(sent)) {
        const std::string json = host::writeJson(sent);
        fuzz::require(host::parseJson(json) == sent, "a value reads back from its JSON", json);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    VarTable& table = VarTable::instance();
    table.reset();
    fuzz::Bytes bytes(data, size);
    if (bytes.byte() % 2 == 0) {
        std::vector<Value> made;
        while (!bytes.isAtEnd()) requireBothWays(makeValue(bytes, made, kDeepest));
        fuzz::require(table.liveVarCount() == 0, "nothing is left of what was converted");
        fuzz::require(table.problems().empty(), "converting does nothing wrong");
        return 0;
    }
    Module module(bytes);
    module.run();
    const std::size_t live = table.liveVarCount();
    for (const PP_Var& var : module.vars()) {
        const host::Conversion conversion = host::toValue(kCall, var);
        fuzz::require(conversion.value.has_value() == conversion.reason.empty(),
                      "a var is a value or has a reason why not", conversion.reason);
        if (conversion.value) requireBothWays(*conversion.value);
    }
    fuzz::require(table.liveVarCount() == live, "converting makes no var and ends none");
    module.releaseAll();
    table.reset();
    return 0;
}
