#include "embedder/vendor_table.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "base/never_destroyed.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_dictionary.h"

namespace embedder {
namespace {

/// The browser's tables to read and make vars. Null where it offers none.
struct Browser {
    const PPB_Var* var = nullptr;
    const PPB_VarDictionary* dictionary = nullptr;
};

/// What one call works with; it stays the same while the call runs.
struct Setting {
    Browser browser;
    std::shared_ptr<const Application> application;  ///< null for an instance without one

    bool isUsable() const { return browser.var != nullptr && application != nullptr; }
};

struct Settings {
    std::mutex mutex;
    Browser browser;
    std::map<PP_Instance, std::shared_ptr<const Application>> applications;
};

/// Never destroyed: a module's thread may still ask while the process ends.
Settings& settings() {
    static base::NeverDestroyed<Settings> settings;
    return *settings;
}

Setting settingOf(PP_Instance instance) {
    const std::lock_guard lock(settings().mutex);
    const auto found = settings().applications.find(instance);
    return {settings().browser, found == settings().applications.end() ? nullptr : found->second};
}

/// Points into the var, which the caller lends. Nothing for a var that is no live string.
std::optional<std::string_view> textOf(const Setting& setting, const PP_Var& var) {
    if (var.type != PP_VARTYPE_STRING) return std::nullopt;
    std::uint32_t length = 0;
    const char* data = setting.browser.var->VarToUtf8(var, &length);
    if (data == nullptr) return std::nullopt;
    return std::string_view(data, length);
}

/// One reference for the caller.
PP_Var makeText(const Setting& setting, std::string_view text) {
    return setting.browser.var->VarFromUtf8(text.data(), static_cast<std::uint32_t>(text.size()));
}

void setText(const Setting& setting, const PP_Var& dictionary, std::string_view key,
             std::string_view value) {
    const PP_Var keyVar = makeText(setting, key);
    const PP_Var valueVar = makeText(setting, value);
    setting.browser.dictionary->Set(dictionary, keyVar, valueVar);
    setting.browser.var->Release(keyVar);
    setting.browser.var->Release(valueVar);
}

// The operations. Each gives its answer, or nothing when the parameter has the wrong type. All
// answers are immediate vars, so there is no reference to hand over.
using Answer = std::optional<PP_Var>;

Answer checkPrivilege(const Setting& setting, const PP_Var& parameter) {
    const std::optional<std::string_view> asked = textOf(setting, parameter);
    if (!asked) return std::nullopt;
    const auto& grants = setting.application->grants;
    return PP_MakeBool(
        PP_FromBool(std::any_of(grants.begin(), grants.end(),
                                [&](const std::string& granted) { return granted == *asked; })));
}

Answer setRecommendedWords(const Setting&, const PP_Var& parameter) {
    if (parameter.type != PP_VARTYPE_STRING && parameter.type != PP_VARTYPE_ARRAY) {
        return std::nullopt;
    }
    return PP_MakeBool(PP_TRUE);
}

Answer setRecommendedWordsType(const Setting&, const PP_Var& parameter) {
    if (parameter.type != PP_VARTYPE_BOOL) return std::nullopt;
    return PP_MakeBool(PP_TRUE);
}

Answer windowId(const Setting&, const PP_Var& parameter) {
    if (parameter.type != PP_VARTYPE_UNDEFINED) return std::nullopt;
    return PP_MakeInt32(1);  // an application has one window, which all its instances share
}

struct Operation {
    std::string_view name;
    Answer (*run)(const Setting& setting, const PP_Var& parameter);
};

constexpr Operation kOperations[] = {
    {"check_ace_privilege", checkPrivilege},
    {"set_ime_recommended_words", setRecommendedWords},
    {"set_ime_recommended_words_type", setRecommendedWordsType},
    {"get_window_id", windowId},
};

PP_Var getEmbedderName(PP_Instance instance) noexcept {
    const Setting setting = settingOf(instance);
    if (!setting.isUsable()) return PP_MakeUndefined();
    return makeText(setting, setting.application->embedderName);
}

PP_Var getCurrentExtensionInfo(PP_Instance instance) noexcept {
    const Setting setting = settingOf(instance);
    if (!setting.isUsable() || setting.browser.dictionary == nullptr) return PP_MakeUndefined();
    const PP_Var info = setting.browser.dictionary->Create();
    setText(setting, info, "name", setting.application->name);
    setText(setting, info, "embedder", setting.application->embedderName);
    return info;
}

int32_t genericSyncCall(PP_Instance instance, PP_Var name, PP_Var parameter,
                        PP_Var* result) noexcept {
    const Setting setting = settingOf(instance);
    if (setting.browser.var == nullptr) return PP_ERROR_NOINTERFACE;
    if (setting.application == nullptr) return PP_ERROR_FAILED;
    const std::optional<std::string_view> asked = textOf(setting, name);
    if (!asked || result == nullptr) return PP_ERROR_BADARGUMENT;
    for (const Operation& operation : kOperations) {
        if (operation.name != *asked) continue;
        const Answer answer = operation.run(setting, parameter);
        if (!answer) return PP_ERROR_BADARGUMENT;
        *result = *answer;
        return PP_OK;
    }
    return PP_ERROR_NOTSUPPORTED;
}

constexpr PPB_ExtensionSystem_Korvane_0_1 kTable = {
    getEmbedderName,
    getCurrentExtensionInfo,
    genericSyncCall,
};

}  // namespace

const PPB_ExtensionSystem_Korvane_0_1* vendorTable() { return &kTable; }

void setBrowser(PPB_GetInterface getInterface) {
    const Browser browser = {
        static_cast<const PPB_Var*>(getInterface(PPB_VAR_INTERFACE)),
        static_cast<const PPB_VarDictionary*>(getInterface(PPB_VAR_DICTIONARY_INTERFACE)),
    };
    const std::lock_guard lock(settings().mutex);
    settings().browser = browser;
}

void setApplication(PP_Instance instance, Application application) {
    auto shared = std::make_shared<const Application>(std::move(application));
    const std::lock_guard lock(settings().mutex);
    settings().applications.insert_or_assign(instance, std::move(shared));
}

void forgetInstance(PP_Instance instance) {
    const std::lock_guard lock(settings().mutex);
    settings().applications.erase(instance);
}

}  // namespace embedder
