#ifndef ACCOUNT_ACCOUNT_H_
#define ACCOUNT_ACCOUNT_H_

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "account/behaviour.h"
#include "account/mappings.h"
#include "account/outcome.h"

namespace account {

struct Identity {
    std::string loginId;  ///< what the user signs in with
    std::string uid;      ///< the account's identifier
    std::string guid;
    std::string authToken;
};

/// Of the loginId and the uid, in bytes: clients hold them in fields of this size and a NUL.
constexpr std::size_t kLongestId = 255;

struct Client {
    std::string secret;
    std::string token;
};

/// What there is to know of an account, and of the service that has it. At first nobody is signed
/// in, and nobody can be.
struct Description {
    std::optional<Identity> identity;
    bool signedIn = false;
    std::map<std::string, Client> clients;  ///< by their ids
    Mappings mappings;
    std::map<std::string, bool> agreements;  ///< whether a terms document, by its id, is agreed to
    Behaviour behaviour;
};

/// What the caller of a popup is told: Ok, Unavailable or Cancelled.
Outcome outcomeOf(PopupState state);

/// An account as its users see and change it, from a description onwards. What needs somebody who
/// is signed in gives Outcome::NoAccount without, before it looks at its arguments. One thread at a
/// time.
class Account {
  public:
    explicit Account(Description description = {});

    const Behaviour& behaviour() const { return m_now.behaviour; }
    bool isSignedIn() const;

    /// The login or the create-account popup ends. A user who went through it is signed in. Without
    /// an account there is nothing to go through: it fails instead.
    ///
    /// @return the state in which it ended.
    PopupState endLogin(PopupState state);
    /// A terms popup ends. A user who went through it has agreed to the document, if that is known
    /// and somebody is signed in.
    ///
    /// @return as endLogin().
    PopupState endTerms(PopupState state, const std::string& termsId);

    Result<Identity> identity() const;
    /// @return whether the document is agreed to, or Unknown.
    Result<bool> isAgreed(const std::string& termsId) const;
    /// @return the client's token, or Unknown, also when it has another secret.
    Result<std::string> accessToken(const std::string& clientId, const std::string& secret) const;

    /// See Mappings::list().
    Result<std::vector<Mapping>> mappings(const std::string& appId,
                                          const std::string& cpName) const;
    /// @return Ok, Invalid when one of the texts is empty, or Duplicate.
    Outcome addMapping(const Mapping& mapping);
    /// See Mappings::remove().
    ///
    /// @return Ok, or Unknown when there is none to remove.
    Outcome removeMapping(const Mapping& mapping);

  private:
    Description m_now;
};

}  // namespace account

#endif
