#ifndef SUPPORT_CLIENT_LIBRARY_H_
#define SUPPORT_CLIENT_LIBRARY_H_

#include <gtest/gtest.h>

#include <string>

#include "sso_api_control.h"

namespace support {

/// Ends an outstanding operation on the calling thread, see sso_api_control_finish().
inline int finish(int index, SsoApiEnd end, int* callbackResult = nullptr) {
    return sso_api_control_finish(index, &end, callbackResult);
}

/// What a query gives from now on, see sso_api_control_set_answer().
inline int setAnswer(const char* query, SsoApiAnswer answer) {
    return sso_api_control_set_answer(query, &answer);
}

/// From now on popups end by themselves.
///
/// @param state  "completed", "closed" or "failed".
inline void endPopupsAfter(int delayMs, const std::string& state) {
    const std::string end =
        "{\"delayMs\": " + std::to_string(delayMs) + ", \"state\": \"" + state + "\"}";
    sso_api_control_set_held(0);
    const std::string account = "{\"popups\": {\"login\": " + end + ", \"createAccount\": " + end +
                                ", \"terms\": " + end + "}}";
    EXPECT_EQ(sso_api_control_set_account(account.c_str()), SSO_OK);
}

/// Makes the library as it is in a fresh process: nobody is signed in, nothing is outstanding.
inline void resetLibrary() {
    for (const char* query : {"sso_get_login_state", "sso_get_term_state", "sso_get_login_info",
                              "sso_get_guid", "sso_get_auth_token"}) {
        sso_api_control_set_answer(query, nullptr);
    }
    sso_api_control_set_start_result(SSO_OK);
    sso_give_proxy();
    sso_api_control_set_held(0);
    sso_api_control_set_account(nullptr);
}

}  // namespace support

#endif
