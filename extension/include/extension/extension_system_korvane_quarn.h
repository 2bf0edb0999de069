#ifndef EXTENSION_EXTENSION_SYSTEM_KORVANE_QUARN_H_
#define EXTENSION_EXTENSION_SYSTEM_KORVANE_QUARN_H_

#include <map>
#include <string>

#include "extension/extension_system_korvane.h"

namespace pp {

/// The operations that Quarn embedders have.
class ExtensionSystemKorvaneQuarn : public ExtensionSystemKorvane {
  public:
    explicit ExtensionSystemKorvaneQuarn(const InstanceHandle& instance)
        : ExtensionSystemKorvane(instance) {}

    /// Asks whether the web application holds a privilege; once per identifier in the life of this
    /// object, for refusals too.
    ///
    /// @param privilege  the identifier, a string; any other type is refused without a question.
    bool CheckPrivilege(const Var& privilege) {
        if (!privilege.is_string()) {
            return false;
        }
        const std::string key = privilege.AsString();
        const auto known = privilege_cache_.find(key);
        if (known != privilege_cache_.end()) {
            return known->second;
        }
        const bool granted = trueOnly(GenericSyncCall(Var("check_ace_privilege"), privilege));
        privilege_cache_[key] = granted;
        return granted;
    }

    /// @param words  passed to the input method as it is.
    /// @return whether the embedder took them.
    bool SetIMERecommendedWords(const Var& words) {
        return trueOnly(GenericSyncCall(Var("set_ime_recommended_words"), words));
    }

    /// @return whether the embedder took the type.
    bool SetIMERecommendedWordsType(bool type) {
        return trueOnly(GenericSyncCall(Var("set_ime_recommended_words_type"), Var(type)));
    }

    /// @return the number of the instance's window; -1 when the embedder tells none.
    int32_t GetWindowId() {
        const Var id = GenericSyncCall(Var("get_window_id"), Var());
        return id.is_number() ? id.AsInt() : -1;
    }

  private:
    /// An answer of another type than bool counts as no.
    static bool trueOnly(const Var& answer) { return answer.is_bool() && answer.AsBool(); }

    std::map<std::string, bool> privilege_cache_;
};

}  // namespace pp

#endif
