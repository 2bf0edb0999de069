#include "fixture.h"

#include <sys/prctl.h>

#include <cstdlib>
#include <cstring>

std::string threadName() {
    char name[16] = {};
    prctl(PR_GET_NAME, name);
    return name;
}

Callbacks::~Callbacks() {
    if (m_started != now().size()) {
        sso_give_proxy();
    }
}

int Callbacks::show(const std::string& name, const char* page) {
    return started(sso_show(nullptr, 0, page, &popupEnded, userDataOf(name)));
}

int Callbacks::showTerms(const std::string& name, const char* termsId) {
    return started(sso_show_term_page(termsId, 0, "caller", &popupEnded, userDataOf(name)));
}

int Callbacks::requestToken(const std::string& name, const char* clientId, const char* secret) {
    return started(sso_request_access_token(clientId, secret, &textCame, userDataOf(name)));
}

int Callbacks::listMappings(const std::string& name, const char* appId, const char* cpName) {
    return started(sso_get_cp_account_mapping_list(appId, cpName, &textCame, userDataOf(name)));
}

int Callbacks::addMapping(const std::string& name, const char* appId, const char* cpName,
                          const char* cpUid) {
    return started(
        sso_add_cp_account_mapping_info(appId, cpName, cpUid, &resultCame, userDataOf(name)));
}

int Callbacks::removeMapping(const std::string& name, const char* appId, const char* cpName,
                             const char* cpUid) {
    return started(
        sso_remove_cp_account_mapping_info(appId, cpName, cpUid, &resultCame, userDataOf(name)));
}

void Callbacks::startAll() {
    show("show");
    showTerms("show_term_page", "terms");
    requestToken("request_access_token", "id", "secret");
    listMappings("get_cp_account_mapping_list", "app", "cp");
    addMapping("add_cp_account_mapping_info", "app", "cp", "uid");
    removeMapping("remove_cp_account_mapping_info", "app", "cp", "uid");
}

std::vector<std::string> Callbacks::waitFor(std::size_t count) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return m_ended.size() >= count; });
    return m_ended;
}

std::vector<std::string> Callbacks::now() { return waitFor(0); }

std::vector<std::string> Callbacks::threads() {
    const std::lock_guard lock(m_mutex);
    return m_threads;
}

void* Callbacks::userDataOf(const std::string& name) {
    const std::lock_guard lock(m_mutex);
    return &m_operations.emplace_back(Operation{name, this});
}

int Callbacks::started(int result) {
    const std::lock_guard lock(m_mutex);
    m_started += result != -1 ? 1 : 0;
    return result;
}

void Callbacks::ended(void* userData, const std::string& what) {
    const auto* operation = static_cast<Operation*>(userData);
    Callbacks& self = *operation->callbacks;
    self.inside(operation->name);
    const std::lock_guard lock(self.m_mutex);
    self.m_ended.push_back(operation->name + ": " + what);
    self.m_threads.push_back(threadName());
    self.m_changed.notify_all();
}

int Callbacks::popupEnded(void* userData, int result, sso_popup_state_e state) {
    ended(userData, std::to_string(result) + " state " + std::to_string(state));
    return 1;
}

int Callbacks::textCame(void* userData, int result, char* text) {
    const std::string copy = text != nullptr ? text : "null";
    if (text != nullptr) {
        std::memset(text, '#', copy.size());  // it is the callback's own
    }
    ended(userData, std::to_string(result) + " " + copy);
    return 2;
}

int Callbacks::resultCame(void* userData, int result) {
    ended(userData, std::to_string(result));
    return 3;
}

namespace {

/// What the one operation's callback was told.
std::string outcomeOf(int started, Callbacks& callbacks) {
    if (started != 0) return "not started";
    const std::string ended = callbacks.waitFor(1).front();
    return ended.substr(ended.find(": ") + 2);
}

std::string textOf(int (*query)(char**)) {
    char untouched[] = "untouched";
    char* text = untouched;
    const int result = query(&text);
    const std::string shown = std::to_string(result) + " " + text;
    if (text != untouched) std::free(text);
    return shown;
}

}  // namespace

void TheClientLibrary::useAccount(const std::string& json) {
    ASSERT_EQ(sso_api_control_set_account(json.c_str()), 0);
}

std::string TheClientLibrary::show(const char* page) {
    Callbacks callbacks;
    return outcomeOf(callbacks.show("", page), callbacks);
}

std::string TheClientLibrary::showTerms(const char* termsId) {
    Callbacks callbacks;
    return outcomeOf(callbacks.showTerms("", termsId), callbacks);
}

std::string TheClientLibrary::token(const char* clientId, const char* secret) {
    Callbacks callbacks;
    return outcomeOf(callbacks.requestToken("", clientId, secret), callbacks);
}

std::string TheClientLibrary::list(const char* appId, const char* cpName) {
    Callbacks callbacks;
    return outcomeOf(callbacks.listMappings("", appId, cpName), callbacks);
}

std::string TheClientLibrary::add(const char* appId, const char* cpName, const char* cpUid) {
    Callbacks callbacks;
    return outcomeOf(callbacks.addMapping("", appId, cpName, cpUid), callbacks);
}

std::string TheClientLibrary::remove(const char* appId, const char* cpName, const char* cpUid) {
    Callbacks callbacks;
    return outcomeOf(callbacks.removeMapping("", appId, cpName, cpUid), callbacks);
}

std::string TheClientLibrary::loginState() {
    int state = 77;
    const int result = sso_get_login_state(&state);
    return std::to_string(result) + " " + std::to_string(state);
}

std::string TheClientLibrary::termState(const char* termsId) {
    int state = 77;
    const int result = sso_get_term_state(termsId, &state);
    return std::to_string(result) + " " + std::to_string(state);
}

std::string TheClientLibrary::loginInfo() {
    sso_login_info info{};
    std::strcpy(info.login_id, "untouched");
    std::strcpy(info.uid, "untouched");
    const int result = sso_get_login_info(&info);
    return std::to_string(result) + " " + info.login_id + " " + info.uid;
}

std::string TheClientLibrary::guid() { return textOf(&sso_get_guid); }

std::string TheClientLibrary::authToken() { return textOf(&sso_get_auth_token); }
