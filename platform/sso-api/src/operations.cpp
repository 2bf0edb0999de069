// The asynchronous operations, and the end of them all.

#include "control.h"
#include "guarded.h"
#include "operation_queue.h"
#include "sso_api.h"

using namespace sso_api;

namespace {

/// Starts a popup that ends by itself.
///
/// @param call  what the observer is told; its texts are checked for null up to `textCount`.
int startPopup(const SsoApiCall& call, int textCount, sso_popup_callback callback) {
    return guarded(SSO_ERROR_NOT_STARTED, [&] {
        observe(call);
        for (int i = 0; i < textCount; ++i) {
            if (call.texts[i] == nullptr) {
                return static_cast<int>(SSO_ERROR_NOT_STARTED);
            }
        }
        const Behaviour behaviour = currentBehaviour();
        if (callback == nullptr || behaviour.startResult == SSO_ERROR_NOT_STARTED) {
            return static_cast<int>(SSO_ERROR_NOT_STARTED);
        }
        const bool started = OperationQueue::instance().start(
            behaviour.popupDelay, {SSO_OK, behaviour.popupState},
            [callback, userData = call.user_data](const Outcome& outcome) {
                return callback(userData, outcome.result, outcome.state);
            });
        return started ? behaviour.startResult : static_cast<int>(SSO_ERROR_NOT_STARTED);
    });
}

/// Requests for the account's data need an account, and nobody is signed in.
int refuseRequest(const SsoApiCall& call) {
    return guarded(SSO_ERROR_NOT_STARTED, [&] {
        observe(call);
        return static_cast<int>(SSO_ERROR_NOT_STARTED);
    });
}

template <typename Callback>
auto untyped(Callback callback) {
    return reinterpret_cast<void (*)(void)>(callback);
}

}  // namespace

int sso_show(void* window, int flags, const char* page, sso_popup_callback callback,
             void* user_data) {
    return startPopup({"sso_show", window, flags, {page}, untyped(callback), user_data}, 1,
                      callback);
}

int sso_show_term_page(const char* terms_id, int flags, const char* caller_id,
                       sso_popup_callback callback, void* user_data) {
    return startPopup(
        {"sso_show_term_page", nullptr, flags, {terms_id, caller_id}, untyped(callback), user_data},
        2, callback);
}

int sso_request_access_token(const char* client_id, const char* client_secret,
                             sso_text_callback callback, void* user_data) {
    return refuseRequest({"sso_request_access_token",
                          nullptr,
                          0,
                          {client_id, client_secret},
                          untyped(callback),
                          user_data});
}

int sso_get_cp_account_mapping_list(const char* app_id, const char* cp_name,
                                    sso_text_callback callback, void* user_data) {
    return refuseRequest({"sso_get_cp_account_mapping_list",
                          nullptr,
                          0,
                          {app_id, cp_name},
                          untyped(callback),
                          user_data});
}

int sso_add_cp_account_mapping_info(const char* app_id, const char* cp_name, const char* cp_uid,
                                    sso_result_callback callback, void* user_data) {
    return refuseRequest({"sso_add_cp_account_mapping_info",
                          nullptr,
                          0,
                          {app_id, cp_name, cp_uid},
                          untyped(callback),
                          user_data});
}

int sso_remove_cp_account_mapping_info(const char* app_id, const char* cp_name, const char* cp_uid,
                                       sso_result_callback callback, void* user_data) {
    return refuseRequest({"sso_remove_cp_account_mapping_info",
                          nullptr,
                          0,
                          {app_id, cp_name, cp_uid},
                          untyped(callback),
                          user_data});
}

int sso_give_proxy(void) {
    return guarded(SSO_OK, [] {
        observe({"sso_give_proxy", nullptr, 0, {}, nullptr, nullptr});
        OperationQueue::instance().endAll({SSO_ERROR_CANCELLED, SSO_POPUP_CANCELLED});
        return static_cast<int>(SSO_OK);
    });
}
