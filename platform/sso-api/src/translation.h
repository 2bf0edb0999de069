#ifndef SSO_API_TRANSLATION_H_
#define SSO_API_TRANSLATION_H_

#include <string>
#include <vector>

#include "account/account.h"
#include "answer.h"
#include "callback_arguments.h"

/// The account's terms in those of C.
namespace sso_api {

int resultOf(account::Outcome outcome);
sso_popup_state_e stateOf(account::PopupState state);

// What the callbacks of requests are told.
CallbackArguments told(account::Outcome outcome);
CallbackArguments told(const account::Result<std::string>& text);
CallbackArguments told(const account::Result<std::vector<account::Mapping>>& mappings);

// What queries give.
Answer loginState(const account::Account& account);
Answer termState(const account::Account& account, const std::string& termsId);
Answer loginInfo(const account::Account& account);
Answer guid(const account::Account& account);
Answer authToken(const account::Account& account);

}  // namespace sso_api

#endif
