#ifndef SSO_API_START_H_
#define SSO_API_START_H_

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "account/account.h"
#include "guarded.h"
#include "operation_queue.h"
#include "sso_api_control.h"

namespace sso_api {

/// Copies of a call's texts.
using Texts = std::vector<std::string>;

/// How an operation ends by itself: after a delay, with what `work` makes of the account then.
struct Ending {
    std::chrono::milliseconds delay;
    std::function<CallbackArguments(account::Account&, const Texts&)> work;
};

using EndingOf = std::function<Ending(const account::Behaviour&)>;

/// start() without its guard.
int startUnguarded(account::Operation operation, const SsoApiCall& call, std::size_t texts,
                   const EndingOf& endingOf, OperationQueue::Deliver deliver);

/// Starts an operation, unless its arguments, the account or a test say no.
///
/// @param call      what the observer is told; the first `texts` of its texts may not be null.
/// @param endingOf  an EndingOf: tells how the operation ends by the account as it is at the start.
/// @param deliver   an OperationQueue::Deliver: calls the callback.
/// @return what the C function returns.
template <typename ToEnding, typename Deliver>
int start(account::Operation operation, const SsoApiCall& call, std::size_t texts,
          ToEnding endingOf, Deliver deliver) noexcept {
    return guarded(SSO_ERROR_NOT_STARTED, [&] {
        return startUnguarded(operation, call, texts, std::move(endingOf), std::move(deliver));
    });
}

/// A callback as the observer is told of it.
template <typename Callback>
auto untyped(Callback callback) noexcept {
    return reinterpret_cast<void (*)(void)>(callback);
}

}  // namespace sso_api

#endif
