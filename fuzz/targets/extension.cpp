// The extension wrappers against a table of an embedder that answers anything: what they give is as their contract
// says, and no reference stays.
#include <utf8.h>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>

#include "extension/extension_system_korvane_wrt.h"
#include "host/browser_interfaces.h"
#include "host/value.h"
#include "host/value_json.h"
#include "host/var_conversion.h"
#include "host/var_table.h"
#include "ppapi/c/ppp.h"
#include "ppapi/cpp/module.h"
#include "ppapi/cpp/module_embedder.h"
#include "support/bytes.h"
#include "support/require.h"

namespace pp {

Module* CreateModule() {
    class Empty : public Module {
        Instance* CreateInstance(PP_Instance) override { return nullptr; }
    };
    return new Empty;
}

}  // namespace pp

namespace {

using fuzz::require;
using host::Holder;
using host::Value;
using host::VarTable;

constexpr const char* kCall = "fuzz";
constexpr PP_Instance kInstance = 7;

/// What the table answers next, and what it did answer.
struct Embedder {
    fuzz::Bytes* bytes = nullptr;
    std::size_t calls = 0;
    std::int32_t code = 0;
    Value answer;
    bool isWrong = false;  ///< it gave a var that is none: anything may come of it, but no crash
} g_embedder;

Value anyValue(fuzz::Bytes& bytes) {
    switch (bytes.choice(10)) {
        case 0:
            return Value();
        case 1:
            return Value::Null{};
        case 2:
            return bytes.byte() % 2 != 0;
        case 3:
            return static_cast<std::int32_t>(bytes.number(4));
        case 4: {
            double number = 0;
            const std::uint64_t bits = bytes.number(8);
            static_assert(sizeof number == sizeof bits, "a double has 8 bytes");
            std::memcpy(&number, &bits, sizeof number);
            return number;
        }
        case 5:
            return "QuarnWRT";
        case 6:
            return bytes.text();
        case 7:
            return Value::Array{bytes.text(4), 1};
        case 8:
            return Value::Dictionary{{"name", bytes.text(4)}};
        default:
            return Value::Buffer(bytes.choice(9));
    }
}

/// One reference for the module, as a table hands it over.
PP_Var given(const Value& value) {
    const PP_Var var = host::toVar(kCall, value);
    VarTable::instance().giveToModule(kCall, var);
    return var;
}

PP_Var wrong(fuzz::Bytes& bytes) {
    g_embedder.isWrong = true;
    PP_Var var = PP_MakeUndefined();
    var.type = static_cast<PP_VarType>(bytes.byte());
    var.value.as_id = static_cast<std::int64_t>(bytes.number(2));
    return var;
}

PP_Var answer() {
    fuzz::Bytes& bytes = *g_embedder.bytes;
    ++g_embedder.calls;
    if (bytes.choice(16) == 15) return wrong(bytes);
    g_embedder.answer = anyValue(bytes);
    // What a browser makes of it: text that is ill-formed is null.
    const PP_Var var = given(g_embedder.answer);
    g_embedder.answer = *host::toValue(kCall, var).value;
    return var;
}

constexpr PPB_ExtensionSystem_Korvane_0_1 kTable = {
    [](PP_Instance) { return answer(); },
    [](PP_Instance) { return answer(); },
    [](PP_Instance instance, PP_Var, PP_Var, PP_Var* result) -> std::int32_t {
        require(instance == kInstance, "the table is asked for the instance");
        fuzz::Bytes& bytes = *g_embedder.bytes;
        constexpr std::int32_t kCodes[] = {0, 0, 0, 1, -1, -2, 2147483647};
        g_embedder.code = kCodes[bytes.choice(7)];
        if (g_embedder.code == 0) {
            *result = answer();
            return 0;
        }
        ++g_embedder.calls;
        const bool wasWrong = g_embedder.isWrong;
        if (bytes.byte() % 2 != 0) *result = wrong(bytes);  // which nobody may look at
        g_embedder.isWrong = wasWrong;
        return g_embedder.code;
    },
};

const void* browserInterface(const char* name) {
    if (std::string(name) == PPB_EXTENSIONSYSTEM_KORVANE_INTERFACE_0_1) return &kTable;
    return host::browserInterface(name);
}

Value taken(pp::Var var) {
    const host::Conversion conversion = host::toValue(kCall, var.pp_var());
    return conversion.value ? *conversion.value : Value();
}

pp::Var argument(fuzz::Bytes& bytes) { return pp::Var(pp::PASS_REF, given(anyValue(bytes))); }

class Run {
  public:
    void step(fuzz::Bytes& bytes) {
        const std::size_t calls = g_embedder.calls;
        const std::size_t what = bytes.choice(8);
        switch (what) {
            case 0: {
                const std::string name = m_extension.GetEmbedderName();
                check(name == (g_embedder.answer.isString() ? g_embedder.answer.asString() : ""),
                      "the embedder's name is the text that it answers");
                return;
            }
            case 1:
                check(taken(m_extension.GetCurrentExtensionInfo()) == g_embedder.answer,
                      "what is told of the extension is passed on");
                return;
            case 2: {
                const pp::Var operation = argument(bytes);
                const Value value = taken(m_extension.GenericSyncCall(operation, argument(bytes)));
                check(value == (g_embedder.code == 0 ? g_embedder.answer : Value()),
                      "an operation's answer is passed on, unless it failed");
                return;
            }
            case 3:
            case 4:
                return checkPrivilege(bytes.text(8), what == 3 ? argument(bytes) : pp::Var(""));
            case 5:
                check(m_extension.SetIMERecommendedWords(argument(bytes)) == saysTrue(),
                      "words are taken when the embedder says true");
                return;
            case 6:
                check(m_extension.SetIMERecommendedWordsType(bytes.byte() % 2 != 0) == saysTrue(),
                      "a type is taken when the embedder says true");
                return;
            default: {
                const std::int32_t window = m_extension.GetWindowId();
                check(g_embedder.calls == calls + 1, "a window is asked for");
                const bool isNumber = g_embedder.code == 0 &&
                                      (g_embedder.answer.isInt32() || g_embedder.answer.isDouble());
                check(isNumber || window == -1, "a window without a number is -1");
                check(!isNumber || !g_embedder.answer.isInt32() ||
                          window == g_embedder.answer.asInt32(),
                      "a window has the number that the embedder says");
                m_extension.IsValid();
            }
        }
    }

  private:
    /// Nothing is promised of an embedder that gives vars which are none.
    static void check(bool isSo, const char* promise) {
        require(isSo || g_embedder.isWrong, promise, host::writeJson(g_embedder.answer));
    }

    static bool saysTrue() { return g_embedder.code == 0 && g_embedder.answer == Value(true); }

    void checkPrivilege(const std::string& text, const pp::Var& other) {
        const pp::Var privilege = other.is_string() ? pp::Var(text) : other;
        const std::size_t calls = g_embedder.calls;
        const bool granted = m_extension.CheckPrivilege(privilege);
        if (!privilege.is_string()) {
            require(!granted && g_embedder.calls == calls, "what is no text is no privilege");
            return;
        }
        const auto [known, isNew] = m_granted.try_emplace(privilege.AsString(), granted);
        require(g_embedder.calls == calls + (isNew ? 1 : 0), "a privilege is asked for once");
        if (!isNew) {
            require(granted == known->second, "a privilege stays as it was answered");
        } else {
            check(granted == saysTrue(), "a privilege is granted when the embedder says true");
        }
    }

    pp::ExtensionSystemKorvaneWRT m_extension{pp::InstanceHandle(kInstance)};
    std::map<std::string, bool> m_granted;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool isLoaded = PPP_InitializeModule(1, browserInterface) == 0;
    require(isLoaded, "the module starts");
    VarTable& table = VarTable::instance();
    table.reset();
    fuzz::Bytes bytes(data, size);
    g_embedder = {};
    g_embedder.bytes = &bytes;
    {
        Run run;
        while (!bytes.isAtEnd()) run.step(bytes);
    }
    g_embedder.bytes = nullptr;
    if (g_embedder.isWrong) return 0;
    require(table.moduleHeldVars().empty(), "no reference stays");
    for (const std::string& problem : table.problems()) {
        require(false, "the wrappers do nothing wrong with vars", problem);
    }
    return 0;
}
