// The calls that give an answer at once.

#include <string>

#include "account_store.h"
#include "c_text.h"
#include "control.h"
#include "guarded.h"
#include "sso_api.h"
#include "translation.h"

using namespace sso_api;
using account::Account;
using account::Operation;

namespace {

SsoApiCall queryCall(const char* function, const char* text = nullptr) {
    return {function, nullptr, 0, {text}, nullptr, nullptr};
}

/// @param complete  whether no argument is null.
/// @param ask       asks the Account, when no test has set an answer.
/// @param give      writes the Answer's value to the out-parameter: last, so that it is left alone
///                  when anything fails.
template <typename Ask, typename Give>
int query(Operation operation, const SsoApiCall& call, bool complete, Ask ask, Give give) noexcept {
    return guarded(SSO_ERROR_UNAVAILABLE, [&]() -> int {
        observe(call);
        if (!complete) {
            return SSO_ERROR_INVALID;
        }
        auto answer = orderedAnswer(call.function);
        if (!answer) {
            answer = AccountStore::instance().with([&](const Account& account) -> Answer {
                if (account.behaviour().isUnavailable(operation)) {
                    return {SSO_ERROR_UNAVAILABLE, {}, {}, {}};
                }
                return ask(account);
            });
        }
        give(*answer);
        return answer->result;
    });
}

auto giveState(int* state) {
    return [=](const Answer& answer) {
        if (answer.state) {
            *state = *answer.state;
        }
    };
}

auto giveText(const char* function, char** text) {
    return [=](const Answer& answer) {
        if (answer.text) {
            CText copy = copyForC(answer.text->c_str());
            observeText(function, copy.get());
            *text = copy.release();
        }
    };
}

}  // namespace

int sso_get_login_state(int* state) {
    return query(Operation::GetLoginState, queryCall("sso_get_login_state"), state != nullptr,
                 &loginState, giveState(state));
}

int sso_get_term_state(const char* terms_id, int* state) {
    return query(
        Operation::GetTermState, queryCall("sso_get_term_state", terms_id),
        terms_id != nullptr && state != nullptr,
        [=](const Account& account) { return termState(account, terms_id); }, giveState(state));
}

int sso_get_login_info(sso_login_info* info) {
    return query(Operation::GetLoginInfo, queryCall("sso_get_login_info"), info != nullptr,
                 &loginInfo, [=](const Answer& answer) {
                     if (answer.info) {
                         *info = *answer.info;
                     }
                 });
}

int sso_get_guid(char** guid) {
    constexpr const char* kName = "sso_get_guid";
    return query(Operation::GetGuid, queryCall(kName), guid != nullptr, &sso_api::guid,
                 giveText(kName, guid));
}

int sso_get_auth_token(char** token) {
    constexpr const char* kName = "sso_get_auth_token";
    return query(Operation::GetAuthToken, queryCall(kName), token != nullptr, &authToken,
                 giveText(kName, token));
}
