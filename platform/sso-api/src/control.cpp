#include "control.h"

#include <mutex>

#include "guarded.h"
#include "operation_queue.h"

namespace sso_api {
namespace {

struct Observer {
    SsoApiObserver function = nullptr;
    void* user = nullptr;
};

std::mutex g_mutex;
Behaviour g_behaviour;
Observer g_observer;

}  // namespace

Behaviour currentBehaviour() {
    const std::lock_guard lock(g_mutex);
    return g_behaviour;
}

void observe(const SsoApiCall& call) {
    Observer observer;
    {
        const std::lock_guard lock(g_mutex);
        observer = g_observer;
    }
    if (observer.function != nullptr) {
        observer.function(&call, observer.user);
    }
}

}  // namespace sso_api

using namespace sso_api;

void sso_api_control_set_observer(SsoApiObserver observer, void* user) {
    const std::lock_guard lock(g_mutex);
    g_observer = {observer, user};
}

void sso_api_control_set_start_result(int result) {
    const std::lock_guard lock(g_mutex);
    g_behaviour.startResult = result;
}

void sso_api_control_set_popup_end(int delay_ms, int state) {
    const std::lock_guard lock(g_mutex);
    g_behaviour.popupDelay =
        delay_ms < 0 ? std::nullopt : std::optional(std::chrono::milliseconds(delay_ms));
    g_behaviour.popupState = static_cast<sso_popup_state_e>(state);
}

int sso_api_control_outstanding(void) {
    return static_cast<int>(OperationQueue::instance().outstanding());
}

int sso_api_control_finish(int index, int result, int state, int* callback_result) {
    return guarded(SSO_ERROR_INVALID, [&] {
        if (index < 0) {
            return static_cast<int>(SSO_ERROR_INVALID);
        }
        const auto returned = OperationQueue::instance().finish(
            static_cast<size_t>(index), {result, static_cast<sso_popup_state_e>(state)});
        if (!returned) {
            return static_cast<int>(SSO_ERROR_INVALID);
        }
        if (callback_result != nullptr) {
            *callback_result = *returned;
        }
        return static_cast<int>(SSO_OK);
    });
}
