#ifndef SSO_API_ACCOUNT_STORE_H_
#define SSO_API_ACCOUNT_STORE_H_

#include <mutex>
#include <optional>

#include "account/account.h"

namespace sso_api {

/// The account of the process. It is read from the file that SSO_ACCOUNT_FILE names at its first
/// use, and not when the library is loaded: the loading process may go on to fork. Any thread.
class AccountStore {
  public:
    AccountStore();
    AccountStore(const AccountStore&) = delete;
    AccountStore& operator=(const AccountStore&) = delete;

    /// The store of the process.
    static AccountStore& instance();

    /// Runs `work` on the account while nobody else does.
    template <typename Work>
    auto with(Work work) {
        const std::lock_guard lock(m_mutex);
        if (!m_account) {
            m_account = load();
        }
        return work(*m_account);
    }

    void replace(account::Account account);

  private:
    static account::Account load();

    std::mutex m_mutex;
    std::optional<account::Account> m_account;  ///< none before the first use
};

}  // namespace sso_api

#endif
