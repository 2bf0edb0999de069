// The operations that show the user something.

#include <cstdio>
#include <mutex>

#include "sso_api.h"
#include "start.h"
#include "translation.h"

using namespace sso_api;
using account::Account;
using account::Behaviour;
using account::Operation;
using account::Popup;
using account::PopupState;

namespace {

/// @param end  ends the popup for the account, and gives the state in which it ended.
template <typename End>
Ending endingOf(const std::optional<Popup>& wanted, End end) {
    const Popup popup = wanted.value_or(Popup{});
    return {popup.delay,
            [state = popup.state, end](Account& account, const Texts& texts) -> CallbackArguments {
                const PopupState ended = end(account, state, texts);
                return {resultOf(outcomeOf(ended)), stateOf(ended), nullptr};
            }};
}

/// Once, as it stays so.
void tellThatThereIsNoAccount() {
    static std::once_flag told;
    std::call_once(told, [] {
        std::fputs(
            "sso_api: there is no account, so nobody can sign in; --account FILE of sso-host and "
            "sso-browser gives one, such as account/examples/signed-out.json\n",
            stderr);
    });
}

auto to(sso_popup_callback callback, void* userData) noexcept {
    return [=](const CallbackArguments& arguments) {
        return callback(userData, arguments.result, arguments.state);
    };
}

}  // namespace

int sso_show(void* window, int flags, const char* page, sso_popup_callback callback,
             void* user_data) {
    return start(
        Operation::ShowLogin, {"sso_show", window, flags, {page}, untyped(callback), user_data}, 1,
        [=](const Behaviour& behaviour) {
            return endingOf(*page == '\0' ? behaviour.createAccount : behaviour.login,
                            [](Account& later, PopupState state, const Texts&) {
                                const PopupState ended = later.endLogin(state);
                                if (ended != state) tellThatThereIsNoAccount();
                                return ended;
                            });
        },
        to(callback, user_data));
}

int sso_show_term_page(const char* terms_id, int flags, const char* caller_id,
                       sso_popup_callback callback, void* user_data) {
    return start(
        Operation::ShowTerms,
        {"sso_show_term_page", nullptr, flags, {terms_id, caller_id}, untyped(callback), user_data},
        2,
        [](const Behaviour& behaviour) {
            return endingOf(behaviour.terms,
                            [](Account& later, PopupState state, const Texts& texts) {
                                return later.endTerms(state, texts[0]);
                            });
        },
        to(callback, user_data));
}
