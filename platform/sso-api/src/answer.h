#ifndef SSO_API_ANSWER_H_
#define SSO_API_ANSWER_H_

#include <optional>
#include <string>

#include "sso_api.h"

namespace sso_api {

/// What a query gives: a result, and the value for its out-parameter, which is left alone without.
struct Answer {
    int result = SSO_OK;
    std::optional<int> state;
    std::optional<sso_login_info> info;
    std::optional<std::string> text;
};

}  // namespace sso_api

#endif
