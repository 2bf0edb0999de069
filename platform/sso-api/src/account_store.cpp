#include "account_store.h"

#include <cstdio>
#include <cstdlib>

namespace sso_api {
namespace {

// Lives from load to unload, longer than the queue's thread, which uses it.
AccountStore g_store;

}  // namespace

AccountStore& AccountStore::instance() { return g_store; }

void AccountStore::replace(const Account& account) {
    const std::lock_guard lock(m_mutex);
    m_account = account;
}

Account AccountStore::load() {
    const char* path = std::getenv("SSO_ACCOUNT_FILE");
    if (path != nullptr && *path != '\0') {
        try {
            return Account(readAccountFile(path));
        } catch (const AccountFileError& error) {
            std::fprintf(stderr, "sso_api: %s\n", error.what());
        }
    }
    return Account(AccountFile());
}

}  // namespace sso_api
