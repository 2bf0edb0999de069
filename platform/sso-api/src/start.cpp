#include "start.h"

#include <optional>
#include <utility>

#include "account_store.h"
#include "control.h"

namespace sso_api {
namespace {

bool isComplete(const SsoApiCall& call, std::size_t texts) {
    for (std::size_t i = 0; i < texts; ++i) {
        if (call.texts[i] == nullptr) {
            return false;
        }
    }
    return call.callback != nullptr;
}

/// The work as the queue does it, on its thread: nothing may throw there.
OperationQueue::Work onTheAccount(std::function<Outcome(Account&)> work) {
    return [work = std::move(work)]() -> Outcome {
        try {
            return AccountStore::instance().with(work);
        } catch (...) {
            return {SSO_ERROR_UNAVAILABLE, SSO_POPUP_FAILED, nullptr};
        }
    };
}

}  // namespace

int startUnguarded(const SsoApiCall& call, std::size_t texts, const EndingOf& endingOf,
                   OperationQueue::Deliver deliver) {
    observe(call);
    const StartOrders orders = startOrders();
    if (!isComplete(call, texts) || orders.result == SSO_ERROR_NOT_STARTED) {
        return SSO_ERROR_NOT_STARTED;
    }
    auto ending =
        AccountStore::instance().with([&](const Account& account) -> std::optional<Ending> {
            if (account.isUnavailable(call.function)) {
                return std::nullopt;
            }
            return endingOf(account);
        });
    if (!ending) {
        return SSO_ERROR_NOT_STARTED;
    }
    const bool started =
        OperationQueue::instance().start(orders.held ? std::nullopt : std::optional(ending->delay),
                                         onTheAccount(std::move(ending->work)), std::move(deliver));
    return started ? orders.result : SSO_ERROR_NOT_STARTED;
}

}  // namespace sso_api
