#include "start.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "account_store.h"
#include "control.h"
#include "service_backend.h"

namespace sso_api {
namespace {

bool isComplete(const SsoApiCall& call, std::size_t texts) {
    return call.callback != nullptr &&
           std::find(call.texts, call.texts + texts, nullptr) == call.texts + texts;
}

int startOnService(ServiceBackend& service, account::Operation operation, const StartOrders& orders,
                   const Texts& texts, OperationQueue::Deliver deliver) {
    if (!service.canStart(operation)) {
        return SSO_ERROR_NOT_STARTED;
    }
    const auto id = OperationQueue::instance().start(std::nullopt, {}, std::move(deliver));
    if (!id) {
        return SSO_ERROR_NOT_STARTED;
    }
    if (!orders.held) {
        service.run(operation, texts, *id);
    }
    return orders.result;
}

}  // namespace

int startUnguarded(account::Operation operation, const SsoApiCall& call, std::size_t texts,
                   const EndingOf& endingOf, OperationQueue::Deliver deliver) {
    observe(call);
    const StartOrders orders = startOrders();
    if (!isComplete(call, texts) || orders.result == SSO_ERROR_NOT_STARTED) {
        return SSO_ERROR_NOT_STARTED;
    }
    if (ServiceBackend* service = ServiceBackend::instance()) {
        return startOnService(*service, operation, orders, Texts(call.texts, call.texts + texts),
                              std::move(deliver));
    }
    auto ending = AccountStore::instance().with(
        [&](const account::Account& account) -> std::optional<Ending> {
            if (account.behaviour().isUnavailable(operation)) {
                return std::nullopt;
            }
            return endingOf(account.behaviour());
        });
    if (!ending) {
        return SSO_ERROR_NOT_STARTED;
    }
    // On the queue's thread, where nothing may throw.
    auto work = [work = std::move(ending->work),
                 copies = Texts(call.texts, call.texts + texts)]() -> CallbackArguments {
        try {
            return AccountStore::instance().with(
                [&](account::Account& account) { return work(account, copies); });
        } catch (...) {
            return {SSO_ERROR_UNAVAILABLE, SSO_POPUP_FAILED, nullptr};
        }
    };
    const auto started =
        OperationQueue::instance().start(orders.held ? std::nullopt : std::optional(ending->delay),
                                         std::move(work), std::move(deliver));
    return started ? orders.result : SSO_ERROR_NOT_STARTED;
}

}  // namespace sso_api
