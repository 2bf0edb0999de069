#ifndef SERVICE_POPUP_NAMES_H_
#define SERVICE_POPUP_NAMES_H_

#include <optional>
#include <string_view>

#include "popups.h"

namespace service {

/// As events, the store and the remote control call them: "login", "createAccount", "terms".
const char* nameOf(PopupKind kind);
std::optional<PopupKind> popupKindNamed(std::string_view name);

/// "completed", "closed", "failed", "cancelled".
const char* nameOf(account::PopupState state);
std::optional<account::PopupState> popupStateNamed(std::string_view name);

}  // namespace service

#endif
