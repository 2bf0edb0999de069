// The operations that show the user something.

#include <functional>
#include <string>
#include <utility>

#include "sso_api.h"
#include "start.h"

using namespace sso_api;

namespace {

using Effect = std::function<void(Account&)>;

/// @param effect  of a user who goes through the popup.
Ending endingOf(const Popup& popup, Effect effect) {
    return {popup.delay,
            [state = popup.state, effect = std::move(effect)](Account& account) -> Outcome {
                if (state == SSO_POPUP_COMPLETED) {
                    effect(account);
                }
                return {state == SSO_POPUP_FAILED ? SSO_ERROR_UNAVAILABLE : SSO_OK, state, nullptr};
            }};
}

auto to(sso_popup_callback callback, void* userData) noexcept {
    return
        [=](const Outcome& outcome) { return callback(userData, outcome.result, outcome.state); };
}

}  // namespace

int sso_show(void* window, int flags, const char* page, sso_popup_callback callback,
             void* user_data) {
    return start(
        {"sso_show", window, flags, {page}, untyped(callback), user_data}, 1,
        [&](const Account& account) {
            return endingOf(*page == '\0' ? account.createAccountPopup() : account.loginPopup(),
                            &Account::signIn);
        },
        to(callback, user_data));
}

int sso_show_term_page(const char* terms_id, int flags, const char* caller_id,
                       sso_popup_callback callback, void* user_data) {
    return start(
        {"sso_show_term_page", nullptr, flags, {terms_id, caller_id}, untyped(callback), user_data},
        2,
        [&](const Account& account) {
            return endingOf(account.termsPopup(),
                            [id = std::string(terms_id)](Account& later) { later.agree(id); });
        },
        to(callback, user_data));
}
