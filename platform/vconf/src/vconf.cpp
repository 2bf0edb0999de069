#include "vconf.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "base/observer.h"
#include "vconf_control.h"

namespace {

struct Subscription {
    vconf_callback callback;
    void* userData;
};

std::mutex g_mutex;
std::map<std::string, std::vector<Subscription>> g_subscriptions;
base::Observer<VconfObserver> g_observer;

/// @return whether there was anything to withdraw.
bool withdraw(const std::string& key, vconf_callback callback) {
    const std::lock_guard lock(g_mutex);
    const auto found = g_subscriptions.find(key);
    if (found == g_subscriptions.end()) {
        return false;
    }
    auto& subscribers = found->second;
    const auto kept = std::remove_if(
        subscribers.begin(), subscribers.end(), [callback](const Subscription& subscription) {
            return callback == nullptr || subscription.callback == callback;
        });
    const bool any = kept != subscribers.end();
    subscribers.erase(kept, subscribers.end());
    return any;
}

}  // namespace

int vconf_watch_key_changed(const char* key, vconf_callback callback, void* user_data) {
    if (key == nullptr || callback == nullptr) {
        return -1;
    }
    const std::lock_guard lock(g_mutex);
    g_subscriptions[key].push_back({callback, user_data});
    return 0;
}

int vconf_ignore_key_changed(const char* key, vconf_callback callback) {
    if (key == nullptr) {
        return -1;
    }
    const int result = withdraw(key, callback) ? 0 : -1;
    const VconfWithdrawal withdrawal{key, callback, result};
    g_observer.tell(&withdrawal);
    return result;
}

void vconf_control_set_observer(VconfObserver observer, void* user) {
    g_observer.set(observer, user);
}

int vconf_control_subscriptions(const char* key) {
    const std::lock_guard lock(g_mutex);
    const auto found = g_subscriptions.find(key);
    return found == g_subscriptions.end() ? 0 : static_cast<int>(found->second.size());
}
