#ifndef SSO_ACCOUNT_FILE_H_
#define SSO_ACCOUNT_FILE_H_

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "sso_api.h"

/// The account file of the development SSO client library; web/accounts/account.schema.json
/// describes it. The library reads the file that SSO_ACCOUNT_FILE in the environment names, if that
/// is set and not empty, at the first use of the account.
namespace sso_api {

struct Identity {
    std::string loginId;
    std::string uid;
    std::string guid;
    std::string authToken;
};

/// How a popup ends by itself.
struct Popup {
    sso_popup_state_e state = SSO_POPUP_COMPLETED;
    std::chrono::milliseconds delay{200};
};

struct Client {
    std::string secret;
    std::string token;
};

struct Mapping {
    std::string appId;
    std::string cpName;
    std::string cpUid;
};

inline bool operator<(const Mapping& one, const Mapping& other) {
    return std::tie(one.appId, one.cpName, one.cpUid) <
           std::tie(other.appId, other.cpName, other.cpUid);
}

/// What an account file says. The values that it has at first are those without a file.
struct AccountFile {
    std::optional<Identity> identity;
    bool signedIn = false;
    Popup login;
    Popup createAccount;
    Popup terms;
    std::chrono::milliseconds requestDelay{0};
    std::map<std::string, Client> clients;   ///< by their ids
    std::vector<Mapping> mappings;           ///< the oldest first, none of them twice
    std::map<std::string, bool> agreements;  ///< whether a terms document, by its id, is agreed to
    std::set<std::string> unavailable;       ///< names of functions
};

/// A file that is no account. what() is one line for a person: the file's name, the line's number
/// and the member, as far as they can be told. It quotes no text of the file but names of members.
class AccountFileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// @throws AccountFileError  when the file cannot be read, or is no account.
AccountFile readAccountFile(const std::string& path);

/// @param json  the content of an account file.
/// @param name  what to call it in an error.
/// @throws AccountFileError  when it is no account.
AccountFile parseAccountFile(std::string_view json, const std::string& name);

}  // namespace sso_api

#endif
