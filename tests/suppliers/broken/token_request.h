#ifndef SUPPLIERS_BROKEN_TOKEN_REQUEST_H_
#define SUPPLIERS_BROKEN_TOKEN_REQUEST_H_

#include <sso_api.h>

#include <string>

#include "faithful.h"

/// What sso_request_access_token was given, for a callback of ours to break the caller's promise with.
struct TokenRequest {
    const char* clientId;  ///< the caller's own, not a copy
    sso_text_callback callback;
    void* userData;

    void call(int result, char* text) const { callback(userData, result, text); }
    /// With a copy of the text, or without one.
    void callWithCopy(int result, const std::string& copy) const {
        std::string text = copy;
        call(result, result == SSO_OK ? text.data() : nullptr);
    }
};

/// Starts the request that `request` tells of, with another callback, whose user data it becomes.
/// It is never released: how often a callback comes is what some of the broken ones get wrong.
inline int startInstead(const TokenRequest& request, const char* secret,
                        sso_text_callback callback) {
    auto* kept = new TokenRequest(request);
    return FAITHFUL(sso_request_access_token)(request.clientId, secret, callback, kept);
}

#endif
