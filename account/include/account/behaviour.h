#ifndef ACCOUNT_BEHAVIOUR_H_
#define ACCOUNT_BEHAVIOUR_H_

#include <chrono>
#include <optional>
#include <set>

namespace account {

/// What somebody may ask of an account service.
enum class Operation {
    ShowLogin,  ///< the login popup, or its page for a new account
    ShowTerms,
    RequestAccessToken,
    ListMappings,
    AddMapping,
    RemoveMapping,
    GetLoginState,
    GetTermState,
    GetLoginInfo,
    GetGuid,
    GetAuthToken,
};

/// The state in which a popup ended.
enum class PopupState {
    Completed,  ///< the user went through it
    Closed,     ///< the user closed it
    Failed,     ///< it could not be shown to its end
    Cancelled,  ///< it was taken away
};

/// How a popup ends by itself.
struct Popup {
    PopupState state = PopupState::Completed;
    std::chrono::milliseconds delay{200};
};

/// How an account service behaves by itself.
struct Behaviour {
    // Nothing is known of a popup without; who has no window for it takes Popup{}.
    std::optional<Popup> login;
    std::optional<Popup> createAccount;
    std::optional<Popup> terms;
    std::chrono::milliseconds requestDelay{0};  ///< of requests for tokens and mappings
    std::set<Operation> unavailable;            ///< for which the service cannot be reached

    bool isUnavailable(Operation operation) const { return unavailable.count(operation) != 0; }
};

}  // namespace account

#endif
