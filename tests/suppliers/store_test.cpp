// The configuration store: the plug-in withdraws subscriptions that it never made.

#include <vconf.h>

#include "at_once.h"
#include "promise.h"

namespace suppliers {
namespace {

/// As the plug-in does whenever a page goes.
void withdraw() {
    vconf_ignore_key_changed("memory/sso/login_status", nullptr);
    vconf_ignore_key_changed("memory/sso/view_status", nullptr);
}

TEST(Store, TakesTheWithdrawalOfWhatNobodySubscribed) {
    promise(
        "vconf_ignore_key_changed takes a key that nobody subscribed, and a null callback: the "
        "plug-in calls it so for two keys when a page goes");
    withdraw();
}

TEST(Store, TakesItAnyNumberOfTimes) {
    promise(
        "vconf_ignore_key_changed may be called so any number of times: each page that goes does "
        "it again");
    for (int n = 0; n < 1000; ++n) {
        withdraw();
    }
}

TEST(Store, TakesItOnManyThreadsAtOnce) {
    promise(
        "vconf_ignore_key_changed may be called so on many threads at once: the browser's other "
        "parts use the store meanwhile");
    atOnce(8, [](int) {
        for (int n = 0; n < 200; ++n) {
            withdraw();
        }
    });
}

}  // namespace
}  // namespace suppliers
