#ifndef SERVICE_WINDOWS_H_
#define SERVICE_WINDOWS_H_

#include <string>

#include "account/account.h"
#include "popups.h"

namespace service {

/// A window's page.
struct Window {
    std::string title;
    std::string html;  ///< whole, with all it needs; every text of anybody is escaped
};

/// The window of a popup, for the accounts as they are.
Window windowOf(const OpenPopup& popup, const account::Account& account);

}  // namespace service

#endif
