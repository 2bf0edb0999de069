#include "runtime/development_extension.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_dictionary.h"

namespace runtime {
namespace {

/// What one call works with: a setting that stays the same while the call runs, and the tables to
/// read and make vars.
struct Setting {
    DevelopmentExtension extension;
    const PPB_Var* var = nullptr;
    const PPB_VarDictionary* dictionary = nullptr;
};

std::mutex settingMutex;
std::shared_ptr<const Setting> currentSetting;

/// Null when nothing is configured, or the browser has no vars to offer.
std::shared_ptr<const Setting> usableSetting() {
    const std::lock_guard<std::mutex> lock(settingMutex);
    if (!currentSetting || currentSetting->var == nullptr) return nullptr;
    return currentSetting;
}

/// Points into the var, which the caller lends. Nothing for a var that is no live string.
std::optional<std::string_view> textOf(const Setting& setting, const PP_Var& var) {
    if (var.type != PP_VARTYPE_STRING) return std::nullopt;
    std::uint32_t length = 0;
    const char* data = setting.var->VarToUtf8(var, &length);
    if (data == nullptr) return std::nullopt;
    return std::string_view(data, length);
}

/// One reference for the caller.
PP_Var makeText(const Setting& setting, std::string_view text) {
    return setting.var->VarFromUtf8(text.data(), static_cast<std::uint32_t>(text.size()));
}

void setText(const Setting& setting, const PP_Var& dictionary, std::string_view key,
             std::string_view value) {
    const PP_Var keyVar = makeText(setting, key);
    const PP_Var valueVar = makeText(setting, value);
    setting.dictionary->Set(dictionary, keyVar, valueVar);
    setting.var->Release(keyVar);
    setting.var->Release(valueVar);
}

// The operations. Each gives its answer, or nothing when the parameter has the wrong type. All
// answers are immediate vars, so there is no reference to hand over.
using Answer = std::optional<PP_Var>;

Answer checkPrivilege(const Setting& setting, const PP_Var& parameter) {
    const std::optional<std::string_view> asked = textOf(setting, parameter);
    if (!asked) return std::nullopt;
    const auto& grants = setting.extension.grants;
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

PP_Var getEmbedderName(PP_Instance) noexcept {
    const std::shared_ptr<const Setting> setting = usableSetting();
    if (!setting) return PP_MakeUndefined();
    return makeText(*setting, setting->extension.embedderName);
}

PP_Var getCurrentExtensionInfo(PP_Instance) noexcept {
    const std::shared_ptr<const Setting> setting = usableSetting();
    if (!setting || setting->dictionary == nullptr) return PP_MakeUndefined();
    const PP_Var info = setting->dictionary->Create();
    setText(*setting, info, "name", setting->extension.applicationName);
    setText(*setting, info, "embedder", setting->extension.embedderName);
    return info;
}

int32_t genericSyncCall(PP_Instance, PP_Var name, PP_Var parameter, PP_Var* result) noexcept {
    const std::shared_ptr<const Setting> setting = usableSetting();
    if (!setting) return PP_ERROR_NOINTERFACE;
    const std::optional<std::string_view> asked = textOf(*setting, name);
    if (!asked || result == nullptr) return PP_ERROR_BADARGUMENT;
    for (const Operation& operation : kOperations) {
        if (operation.name != *asked) continue;
        const Answer answer = operation.run(*setting, parameter);
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

void configureDevelopmentExtension(DevelopmentExtension extension) {
    auto setting = std::make_shared<Setting>();
    setting->extension = std::move(extension);
    const PPB_GetInterface getInterface = setting->extension.getInterface;
    setting->var = static_cast<const PPB_Var*>(getInterface(PPB_VAR_INTERFACE));
    setting->dictionary =
        static_cast<const PPB_VarDictionary*>(getInterface(PPB_VAR_DICTIONARY_INTERFACE));
    const std::lock_guard<std::mutex> lock(settingMutex);
    currentSetting = std::move(setting);
}

const PPB_ExtensionSystem_Korvane_0_1* developmentExtensionTable() { return &kTable; }

}  // namespace runtime
