#ifndef SSO_API_CONTROL_STATE_H_
#define SSO_API_CONTROL_STATE_H_

#include <chrono>
#include <optional>

#include "sso_api_control.h"

namespace sso_api {

/// How the library behaves at the moment; set through sso_api_control.h.
struct Behaviour {
    int startResult = SSO_OK;
    std::optional<std::chrono::milliseconds> popupDelay = std::chrono::milliseconds(200);
    sso_popup_state_e popupState = SSO_POPUP_COMPLETED;
};

Behaviour currentBehaviour();

/// Tells the observer, if there is one, on the calling thread.
void observe(const SsoApiCall& call);

}  // namespace sso_api

#endif
