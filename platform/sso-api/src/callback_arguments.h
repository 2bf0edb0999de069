#ifndef SSO_API_CALLBACK_ARGUMENTS_H_
#define SSO_API_CALLBACK_ARGUMENTS_H_

#include "c_text.h"
#include "sso_api.h"

namespace sso_api {

/// What a callback is told; each kind of callback takes the members that it has arguments for.
struct CallbackArguments {
    int result = SSO_OK;
    sso_popup_state_e state = SSO_POPUP_COMPLETED;
    CText text;  ///< may be null
};

}  // namespace sso_api

#endif
