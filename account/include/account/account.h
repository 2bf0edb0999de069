#ifndef ACCOUNT_ACCOUNT_H_
#define ACCOUNT_ACCOUNT_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
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

/// Milliseconds since 1970, in UTC.
using Time = std::int64_t;

/// What a client got for one user.
struct Token {
    std::string text;
    std::optional<Time> expiry;  ///< none: it never expires
    int number = 1;              ///< how many the client has had for the user

    bool isExpired(Time now) const { return expiry && *expiry <= now; }
};

/// A user's account, with all that belongs to the user.
struct Profile {
    Identity identity;
    std::string displayName;
    std::string password;  ///< as whoever checks it keeps it; "" for none
    Mappings mappings;
    std::map<std::string, std::string> agreements;  ///< the version agreed to, by terms document
    std::map<std::string, Token> tokens;            ///< by client
};

struct Client {
    std::string secret;
    std::string token;                     ///< the first that its first user gets
    std::optional<std::int64_t> lifetime;  ///< of its tokens, in milliseconds; none: for ever
};

/// Terms that a user can agree to. A user who agreed to another version has not agreed.
struct TermsDocument {
    std::string version = "1";
    std::string title;
    std::string text;
};

/// What there is to know of accounts, and of the service that has them. At first nobody is signed
/// in, and nobody can be.
struct Description {
    std::vector<Profile> profiles;        ///< no two with the same loginId
    std::optional<std::string> signedIn;  ///< who, by the loginId
    std::map<std::string, Client> clients;
    std::map<std::string, TermsDocument> terms;
    Behaviour behaviour;
};

/// Is told of every change before it is made. When it throws, nothing has changed.
class Recorder {
  public:
    virtual ~Recorder() = default;
    /// @param loginId  null when nobody is signed in from now on.
    virtual void session(const std::string* loginId) = 0;
    virtual void agreement(const std::string& loginId, const std::string& termsId,
                           const std::string& version) = 0;
    virtual void token(const std::string& loginId, const std::string& clientId,
                       const Token& token) = 0;
    virtual void mappingAdded(const std::string& loginId, const Mapping& mapping) = 0;
    /// See Mappings::remove().
    virtual void mappingRemoved(const std::string& loginId, const Mapping& mapping) = 0;
};

/// What the caller of a popup is told: Ok, Unavailable or Cancelled.
Outcome outcomeOf(PopupState state);

/// Accounts as their users see and change them, from a description onwards. What needs somebody who
/// is signed in gives Outcome::NoAccount without, before it looks at its arguments. One thread at a
/// time.
class Account {
  public:
    /// @param recorder  must outlive the account; null for none.
    explicit Account(Description description = {}, Recorder* recorder = nullptr);

    const Description& description() const { return m_now; }
    const Behaviour& behaviour() const { return m_now.behaviour; }
    bool isSignedIn() const { return current() != nullptr; }
    /// Who is signed in; null for nobody.
    const Profile* current() const;
    /// @return null when there is none with that loginId.
    const Profile* find(const std::string& loginId) const;

    /// @return Ok, or Unknown when there is no such account.
    Outcome signIn(const std::string& loginId);
    void signOut();

    /// The login or the create-account popup ends by itself. A user who went through it is signed in:
    /// who was it before, or the first. Without an account there is nothing to go through: it fails
    /// instead.
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
    /// A token that is good: the one that the client had, or the next when that has expired.
    ///
    /// @return the client's token, or Unknown, also when it has another secret.
    Result<std::string> accessToken(const std::string& clientId, const std::string& secret,
                                    Time now);

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
    Profile* current();
    /// Records a change that is going to be made.
    template <typename Record, typename... Arguments>
    void record(Record Recorder::*what, const Arguments&... arguments) {
        if (m_recorder != nullptr) (m_recorder->*what)(arguments...);
    }

    Description m_now;
    Recorder* m_recorder;
};

}  // namespace account

#endif
