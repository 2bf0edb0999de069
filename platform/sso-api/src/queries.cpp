// The calls that give an answer at once.

#include <string>

#include "account_store.h"
#include "c_text.h"
#include "control.h"
#include "guarded.h"
#include "service_backend.h"
#include "sso_api.h"
#include "translation.h"

using namespace sso_api;
using account::Account;
using account::Identity;
using account::Operation;
using account::Outcome;
using account::Result;

namespace {

static_assert(sizeof(sso_login_info) == 1408, "callers reserve exactly this");
static_assert(sizeof(sso_login_info::login_id) == account::kLongestId + 1);
static_assert(sizeof(sso_login_info::uid) == account::kLongestId + 1);

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
            ServiceBackend* service = ServiceBackend::instance();
            answer = service != nullptr
                         ? service->ask(operation, call.texts[0])
                         : AccountStore::instance().with([&](const Account& account) -> Answer {
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

Answer loginState(const Account& account) {
    Answer answer;
    answer.state = account.isSignedIn() ? SSO_LOGIN_STATE_SIGNED_IN : SSO_LOGIN_STATE_SIGNED_OUT;
    return answer;
}

/// @param give  gives a value to the member that it belongs to.
template <typename Value, typename Give>
Answer answerOf(const Result<Value>& result, Give give) {
    Answer answer;
    answer.result = resultOf(result.outcome);
    if (result.outcome == Outcome::Ok) {
        give(answer, result.value);
    }
    return answer;
}

Answer termState(const Account& account, const char* termsId) {
    return answerOf(account.isAgreed(termsId), [](Answer& answer, bool isAgreed) {
        answer.state = isAgreed ? SSO_TERM_STATE_AGREED : SSO_TERM_STATE_NOT_AGREED;
    });
}

Answer loginInfo(const Account& account) {
    return answerOf(account.identity(), [](Answer& answer, const Identity& identity) {
        sso_login_info& info = answer.info.emplace();
        identity.loginId.copy(info.login_id, account::kLongestId);
        identity.uid.copy(info.uid, account::kLongestId);
    });
}

/// @param member  of the identity.
auto text(std::string Identity::*member) {
    return [=](const Account& account) {
        return answerOf(account.identity(), [=](Answer& answer, const Identity& identity) {
            answer.text = identity.*member;
        });
    };
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
    return query(Operation::GetGuid, queryCall(kName), guid != nullptr, text(&Identity::guid),
                 giveText(kName, guid));
}

int sso_get_auth_token(char** token) {
    constexpr const char* kName = "sso_get_auth_token";
    return query(Operation::GetAuthToken, queryCall(kName), token != nullptr,
                 text(&Identity::authToken), giveText(kName, token));
}
