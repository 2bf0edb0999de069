#include "operations.h"

#include <sso_api.h>

#include <algorithm>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "promise.h"

namespace suppliers {
namespace {

// All live until the process ends, as callbacks might.
std::mutex g_mutex;
auto& g_started = *new std::deque<Started>;
auto& g_action = *new std::function<void(const char*)>;
std::atomic<int> g_running{0};
std::atomic<int> g_callbacks{0};
std::atomic<int> g_strange{0};

bool isGiven(const void* userData) {
    const std::lock_guard lock(g_mutex);
    for (const Started& started : g_started) {
        if (&started == userData) {
            return true;
        }
    }
    return false;
}

/// A copy: it may be set while callbacks run.
std::function<void(const char*)> currentAction() {
    const std::lock_guard lock(g_mutex);
    return g_action;
}

int onCallback(void* userData, const char* text) {
    ++g_running;
    ++g_callbacks;
    if (isGiven(userData)) {
        ++static_cast<Started*>(userData)->callbacks;
    } else {
        ++g_strange;
    }
    if (const auto action = currentAction()) {
        action(text);
    }
    --g_running;
    return 0;
}

int onPopup(void* userData, int, sso_popup_state_e) { return onCallback(userData, nullptr); }
int onText(void* userData, int, char* text) { return onCallback(userData, text); }
int onResult(void* userData, int) { return onCallback(userData, nullptr); }

// What the development account knows. Where they are unknown, an operation ends in a failure: with
// one callback, too.
const std::vector<std::string> kClient = {"demo-client", "demo-secret"};
const std::vector<std::string> kMapping = {"demo-app", "demo-partner", "user-of-the-tests"};

using Texts = std::vector<const char*>;

std::vector<Operation> makeOperations() {
    std::vector<Operation> all(7);
    all[0] = {"sso_show", "Login", {"login"}, [](const Texts& texts, void* userData) {
                  return sso_show(nullptr, 0, texts[0], onPopup, userData);
              }};
    all[1] = all[0];
    all[1].asks = "CreateAccount";
    all[1].texts = {""};
    all[2] = {"sso_request_access_token", "AccessToken", kClient,
              [](const Texts& texts, void* userData) {
                  return sso_request_access_token(texts[0], texts[1], onText, userData);
              }};
    all[3] = {"sso_show_term_page",
              "Terms",
              {"terms-1", "demo-app"},
              [](const Texts& texts, void* userData) {
                  return sso_show_term_page(texts[0], 0, texts[1], onPopup, userData);
              }};
    all[4] = {"sso_get_cp_account_mapping_list",
              "MappingList",
              {"demo-app", "demo-partner"},
              [](const Texts& texts, void* userData) {
                  return sso_get_cp_account_mapping_list(texts[0], texts[1], onText, userData);
              }};
    all[5] = {"sso_add_cp_account_mapping_info", "AddMapping", kMapping,
              [](const Texts& texts, void* userData) {
                  return sso_add_cp_account_mapping_info(texts[0], texts[1], texts[2], onResult,
                                                         userData);
              }};
    all[6] = {"sso_remove_cp_account_mapping_info", "RemoveMapping", kMapping,
              [](const Texts& texts, void* userData) {
                  return sso_remove_cp_account_mapping_info(texts[0], texts[1], texts[2], onResult,
                                                            userData);
              }};
    for (const int popup : {0, 1, 3}) {
        all[static_cast<std::size_t>(popup)].needsPerson = true;
    }
    for (const int text : {2, 4}) {
        all[static_cast<std::size_t>(text)].givesText = true;
    }
    for (const int change : {5, 6}) {
        all[static_cast<std::size_t>(change)].changesAccount = true;
    }
    return all;
}

}  // namespace

Started& Operation::start() const {
    Texts pointers;
    for (const std::string& text : texts) {
        pointers.push_back(text.c_str());
    }
    return start(pointers);
}

Started& Operation::start(const std::vector<const char*>& pointers) const {
    Started* started = nullptr;
    {
        const std::lock_guard lock(g_mutex);
        started = &g_started.emplace_back();
    }
    started->result = call(pointers, started);
    return *started;
}

std::string Operation::reasonAgainst() const {
    if (needsPerson && !isAllowed("SSO_SUPPLIERS_POPUPS")) {
        return "a popup may need a person; --popups shows them";
    }
    if (changesAccount && !isAllowed("SSO_SUPPLIERS_CHANGES")) {
        return "the account's mappings would change; --changes allows it";
    }
    return "";
}

const std::vector<Operation>& operations() {
    static const auto& all = *new std::vector<Operation>(makeOperations());
    return all;
}

std::vector<Operation> startableOperations() {
    std::vector<Operation> startable;
    for (const Operation& operation : operations()) {
        if (operation.reasonAgainst().empty()) {
            startable.push_back(operation);
        }
    }
    return startable;
}

void duringCallbacks(std::function<void(const char*)> action) {
    const std::lock_guard lock(g_mutex);
    g_action = std::move(action);
}

int runningCallbacks() { return g_running; }
int callbacks() { return g_callbacks; }
int strangeCallbacks() { return g_strange; }

void waitForStragglers(std::chrono::milliseconds duration) {
    constexpr std::chrono::milliseconds kAnyway(600);
    std::this_thread::sleep_for(
        std::min(patience(), duration == duration.zero() ? kAnyway : duration + kAnyway / 2));
}

}  // namespace suppliers
