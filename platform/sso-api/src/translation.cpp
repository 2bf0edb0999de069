#include "translation.h"

#include <cstddef>

namespace sso_api {
namespace {

using account::Account;
using account::Identity;
using account::Outcome;
using account::PopupState;
using account::Result;

static_assert(sizeof(sso_login_info) == 1408, "callers reserve exactly this");
static_assert(sizeof(sso_login_info::login_id) == account::kLongestId + 1);
static_assert(sizeof(sso_login_info::uid) == account::kLongestId + 1);

template <std::size_t size>
void copyTo(char (&field)[size], const std::string& text) {
    text.copy(field, size - 1);
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

}  // namespace

int resultOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::Ok:
            return SSO_OK;
        case Outcome::NoAccount:
            return SSO_ERROR_NO_ACCOUNT;
        case Outcome::Invalid:
            return SSO_ERROR_INVALID;
        case Outcome::Unknown:
            return SSO_ERROR_UNKNOWN;
        case Outcome::Duplicate:
            return SSO_ERROR_DUPLICATE;
        case Outcome::Cancelled:
            return SSO_ERROR_CANCELLED;
        case Outcome::Unavailable:
            break;
    }
    return SSO_ERROR_UNAVAILABLE;
}

sso_popup_state_e stateOf(PopupState state) {
    switch (state) {
        case PopupState::Completed:
            return SSO_POPUP_COMPLETED;
        case PopupState::Closed:
            return SSO_POPUP_CLOSED;
        case PopupState::Cancelled:
            return SSO_POPUP_CANCELLED;
        case PopupState::Failed:
            break;
    }
    return SSO_POPUP_FAILED;
}

CallbackArguments told(Outcome outcome) {
    CallbackArguments arguments;
    arguments.result = resultOf(outcome);
    return arguments;
}

CallbackArguments told(const Result<std::string>& text) {
    CallbackArguments arguments = told(text.outcome);
    if (text.outcome == Outcome::Ok) {
        arguments.text = copyForC(text.value.c_str());
    }
    return arguments;
}

CallbackArguments told(const Result<std::vector<account::Mapping>>& mappings) {
    if (mappings.outcome != Outcome::Ok) {
        return told(mappings.outcome);
    }
    return told(Result<std::string>{Outcome::Ok, toJson(mappings.value)});
}

Answer loginState(const Account& account) {
    Answer answer;
    answer.state = account.isSignedIn() ? SSO_LOGIN_STATE_SIGNED_IN : SSO_LOGIN_STATE_SIGNED_OUT;
    return answer;
}

Answer termState(const Account& account, const std::string& termsId) {
    return answerOf(account.isAgreed(termsId), [](Answer& answer, bool isAgreed) {
        answer.state = isAgreed ? SSO_TERM_STATE_AGREED : SSO_TERM_STATE_NOT_AGREED;
    });
}

Answer loginInfo(const Account& account) {
    return answerOf(account.identity(), [](Answer& answer, const Identity& identity) {
        sso_login_info& info = answer.info.emplace();
        copyTo(info.login_id, identity.loginId);
        copyTo(info.uid, identity.uid);
    });
}

Answer guid(const Account& account) {
    return answerOf(account.identity(),
                    [](Answer& answer, const Identity& identity) { answer.text = identity.guid; });
}

Answer authToken(const Account& account) {
    return answerOf(account.identity(), [](Answer& answer, const Identity& identity) {
        answer.text = identity.authToken;
    });
}

}  // namespace sso_api
