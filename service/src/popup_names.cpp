#include "popup_names.h"

#include <utility>

namespace service {
namespace {

using account::PopupState;

constexpr std::pair<const char*, PopupKind> kKinds[] = {
    {"login", PopupKind::Login},
    {"createAccount", PopupKind::CreateAccount},
    {"terms", PopupKind::Terms},
};

constexpr std::pair<const char*, PopupState> kStates[] = {
    {"completed", PopupState::Completed},
    {"closed", PopupState::Closed},
    {"failed", PopupState::Failed},
    {"cancelled", PopupState::Cancelled},
};

template <typename Rows, typename Value>
const char* nameIn(const Rows& rows, Value value) {
    for (const auto& [name, one] : rows) {
        if (one == value) return name;
    }
    return "";
}

template <typename Value, typename Rows>
std::optional<Value> namedIn(const Rows& rows, std::string_view name) {
    for (const auto& [known, value] : rows) {
        if (known == name) return value;
    }
    return std::nullopt;
}

}  // namespace

const char* nameOf(PopupKind kind) { return nameIn(kKinds, kind); }

std::optional<PopupKind> popupKindNamed(std::string_view name) {
    return namedIn<PopupKind>(kKinds, name);
}

const char* nameOf(PopupState state) { return nameIn(kStates, state); }

std::optional<PopupState> popupStateNamed(std::string_view name) {
    return namedIn<PopupState>(kStates, name);
}

}  // namespace service
