// The end of all outstanding operations.

#include "control.h"
#include "guarded.h"
#include "operation_queue.h"
#include "service_backend.h"
#include "translation.h"

using namespace sso_api;

int sso_give_proxy(void) {
    return guarded(SSO_OK, []() -> int {
        observe({"sso_give_proxy", nullptr, 0, {}, nullptr, nullptr});
        OperationQueue::instance().endAll({resultOf(account::Outcome::Cancelled),
                                           stateOf(account::PopupState::Cancelled), nullptr});
        if (ServiceBackend* service = ServiceBackend::instance()) {
            service->cancelAll();
        }
        return SSO_OK;
    });
}
