#ifndef SERVICE_POPUPS_H_
#define SERVICE_POPUPS_H_

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "account/behaviour.h"
#include "loop.h"

namespace service {

enum class PopupKind { Login, CreateAccount, Terms };

/// A popup that is under way.
struct OpenPopup {
    std::uint64_t id = 0;
    PopupKind kind = PopupKind::Login;
    std::string page;      ///< of a login
    std::string termsId;   ///< of terms
    std::string callerId;  ///< of terms: the application
    std::string owner;     ///< who asked for it, by the unique name on the bus
    std::string agent;     ///< who shows it, likewise; "" for nobody
    std::function<void(account::PopupState)> end;  ///< answers; called once
    Timer timer;                                   ///< of one that ends by itself
};

}  // namespace service

#endif
