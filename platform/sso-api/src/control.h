#ifndef SSO_API_CONTROL_STATE_H_
#define SSO_API_CONTROL_STATE_H_

#include <optional>
#include <string>

#include "answer.h"
#include "sso_api_control.h"

namespace sso_api {

/// What tests have set through sso_api_control.h for the start of an operation.
struct StartOrders {
    int result = SSO_OK;
    bool held = false;
};

StartOrders startOrders();

/// What tests have set for a query; nothing when the account is to answer.
std::optional<Answer> orderedAnswer(const std::string& function);

/// Tells the observer, if there is one, on the calling thread.
void observe(const SsoApiCall& call);
void observeText(const char* function, const char* text);

}  // namespace sso_api

#endif
