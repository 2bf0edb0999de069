#include "account_store.h"

#include <pthread.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "account/account_file.h"
#include "operation_queue.h"

namespace sso_api {
namespace {

// Lives from load to unload, longer than the queue's thread, which uses it.
AccountStore g_store;
// From load on, too, lest a fork meets it half made; behind the store, which its thread uses to its end.
[[maybe_unused]] const OperationQueue& g_queue = OperationQueue::instance();

}  // namespace

AccountStore& AccountStore::instance() { return g_store; }

AccountStore::AccountStore() {
    // A fork has the account as it is, and not in the middle of a change by a thread that is not there.
    pthread_atfork([] { g_store.m_mutex.lock(); }, [] { g_store.m_mutex.unlock(); },
                   [] { g_store.m_mutex.unlock(); });
}

void AccountStore::replace(account::Account account) {
    const std::lock_guard lock(m_mutex);
    m_account = std::move(account);  // whole or not at all: what may throw is done
}

account::Account AccountStore::load() {
    const char* path = std::getenv("SSO_ACCOUNT_FILE");
    if (path != nullptr && *path != '\0') {
        try {
            return account::Account(account::readAccountFile(path));
        } catch (const account::AccountFileError& error) {
            std::fprintf(stderr, "sso_api: %s\n", error.what());
        }
    }
    return account::Account();
}

}  // namespace sso_api
