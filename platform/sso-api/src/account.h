#ifndef SSO_API_ACCOUNT_H_
#define SSO_API_ACCOUNT_H_

#include <chrono>
#include <string>

#include "answer.h"
#include "mappings.h"
#include "outcome.h"
#include "sso_account_file.h"

namespace sso_api {

/// The account as the library's functions see and change it, from what the file says onwards. One
/// thread at a time.
class Account {
  public:
    explicit Account(const AccountFile& file);

    bool isUnavailable(const std::string& function) const;
    const Popup& loginPopup() const { return m_file.login; }
    const Popup& createAccountPopup() const { return m_file.createAccount; }
    const Popup& termsPopup() const { return m_file.terms; }
    std::chrono::milliseconds requestDelay() const { return m_file.requestDelay; }

    /// Somebody went through the login or the create-account popup.
    void signIn();
    /// Somebody went through a terms document.
    void agree(const std::string& termsId);

    Outcome accessToken(const std::string& clientId, const std::string& secret) const;
    Outcome listMappings(const std::string& appId, const std::string& cpName) const;
    Outcome addMapping(const Mapping& mapping);
    Outcome removeMapping(const Mapping& mapping);

    Answer loginState() const;
    Answer termState(const std::string& termsId) const;
    Answer loginInfo() const;
    Answer guid() const;
    Answer authToken() const;

  private:
    /// The identity that is signed in; null when nobody is.
    const Identity* signedIn() const;

    AccountFile m_file;
    Mappings m_mappings;
};

}  // namespace sso_api

#endif
