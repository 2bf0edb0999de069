#include "control.h"

#include <pthread.h>

#include <cstdio>
#include <map>
#include <mutex>
#include <utility>

#include "account/account_file.h"
#include "account_store.h"
#include "base/observer.h"
#include "guarded.h"
#include "operation_queue.h"
#include "service_backend.h"

namespace sso_api {
namespace {

std::mutex g_mutex;
// A fork has it free, and the orders whole. Without memory for it, forks may wait for ever.
const int g_forkHandler =
    pthread_atfork([] { g_mutex.lock(); }, [] { g_mutex.unlock(); }, [] { g_mutex.unlock(); });
StartOrders g_startOrders;
/// By the names of the queries, which are all there: without a value the account answers.
std::map<std::string, std::optional<Answer>> g_answers = {
    {"sso_get_login_state", {}}, {"sso_get_term_state", {}}, {"sso_get_login_info", {}},
    {"sso_get_guid", {}},        {"sso_get_auth_token", {}},
};
base::Observer<SsoApiObserver> g_observer;
base::Observer<SsoApiTextObserver> g_textObserver;

Answer copyOf(const SsoApiAnswer& answer) {
    Answer copy;
    copy.result = answer.result;
    if (answer.state != nullptr) {
        copy.state = *answer.state;
    }
    if (answer.info != nullptr) {
        copy.info = *answer.info;
    }
    if (answer.text != nullptr) {
        copy.text = answer.text;
    }
    return copy;
}

/// As a file does it: popups of which nothing is said end by themselves, too.
int replaceThere(ServiceBackend& service, account::Description description) {
    for (auto* popup : {&description.behaviour.login, &description.behaviour.createAccount,
                        &description.behaviour.terms}) {
        if (!*popup) popup->emplace();
    }
    const std::string complaint = service.replace(account::toJson(description));
    if (complaint.empty()) {
        return SSO_OK;
    }
    std::fprintf(stderr, "sso_api: %s\n", complaint.c_str());
    return SSO_ERROR_INVALID;
}

}  // namespace

StartOrders startOrders() {
    const std::lock_guard lock(g_mutex);
    return g_startOrders;
}

std::optional<Answer> orderedAnswer(const std::string& function) {
    const std::lock_guard lock(g_mutex);
    return g_answers.at(function);
}

void observe(const SsoApiCall& call) { g_observer.tell(&call); }

void observeText(const char* function, const char* text) { g_textObserver.tell(function, text); }

}  // namespace sso_api

using namespace sso_api;

void sso_api_control_set_observer(SsoApiObserver observer, void* user) {
    g_observer.set(observer, user);
}

void sso_api_control_set_text_observer(SsoApiTextObserver observer, void* user) {
    g_textObserver.set(observer, user);
}

int sso_api_control_set_account(const char* json) {
    return guarded(SSO_ERROR_INVALID, [&]() -> int {
        try {
            auto description = json != nullptr ? account::parseAccountFile(json, "account")
                                               : account::Description();
            if (ServiceBackend* service = ServiceBackend::instance()) {
                return replaceThere(*service, std::move(description));
            }
            AccountStore::instance().replace(account::Account(std::move(description)));
            return SSO_OK;
        } catch (const account::AccountFileError& error) {
            std::fprintf(stderr, "sso_api: %s\n", error.what());
            return SSO_ERROR_INVALID;
        }
    });
}

void sso_api_control_set_start_result(int result) {
    const std::lock_guard lock(g_mutex);
    g_startOrders.result = result;
}

void sso_api_control_set_held(int held) {
    const std::lock_guard lock(g_mutex);
    g_startOrders.held = held != 0;
}

int sso_api_control_set_answer(const char* function, const SsoApiAnswer* answer) {
    return guarded(SSO_ERROR_INVALID, [&]() -> int {
        const std::lock_guard lock(g_mutex);
        const auto found = function != nullptr ? g_answers.find(function) : g_answers.end();
        if (found == g_answers.end()) {
            return SSO_ERROR_INVALID;
        }
        found->second = answer != nullptr ? std::optional(copyOf(*answer)) : std::nullopt;
        return SSO_OK;
    });
}

int sso_api_control_outstanding(void) {
    return static_cast<int>(OperationQueue::instance().outstanding());
}

int sso_api_control_finish(int index, const SsoApiEnd* end, int* callback_result) {
    return guarded(SSO_ERROR_INVALID, [&]() -> int {
        if (index < 0 || end == nullptr) {
            return SSO_ERROR_INVALID;
        }
        const auto returned = OperationQueue::instance().finish(
            static_cast<size_t>(index), {end->result, static_cast<sso_popup_state_e>(end->state),
                                         end->text != nullptr ? copyForC(end->text) : nullptr});
        if (!returned) {
            return SSO_ERROR_INVALID;
        }
        if (callback_result != nullptr) {
            *callback_result = *returned;
        }
        return SSO_OK;
    });
}
