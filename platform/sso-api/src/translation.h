#ifndef SSO_API_TRANSLATION_H_
#define SSO_API_TRANSLATION_H_

#include "account/behaviour.h"
#include "account/outcome.h"
#include "sso_api.h"

/// The account's terms in those of C.
namespace sso_api {

int resultOf(account::Outcome outcome);
sso_popup_state_e stateOf(account::PopupState state);

}  // namespace sso_api

#endif
