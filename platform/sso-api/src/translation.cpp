#include "translation.h"

namespace sso_api {

using account::Outcome;
using account::PopupState;

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

}  // namespace sso_api
