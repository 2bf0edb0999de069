#include "account/account.h"

#include <utility>

namespace account {

Outcome outcomeOf(PopupState state) {
    switch (state) {
        case PopupState::Failed:
            return Outcome::Unavailable;
        case PopupState::Cancelled:
            return Outcome::Cancelled;
        case PopupState::Completed:
        case PopupState::Closed:
            break;
    }
    return Outcome::Ok;
}

Account::Account(Description description) : m_now(std::move(description)) {}

bool Account::isSignedIn() const { return m_now.signedIn && m_now.identity; }

PopupState Account::endLogin(PopupState state) {
    if (state != PopupState::Completed) {
        return state;
    }
    if (!m_now.identity) {
        return PopupState::Failed;
    }
    m_now.signedIn = true;
    return PopupState::Completed;
}

PopupState Account::endTerms(PopupState state, const std::string& termsId) {
    const auto found = m_now.agreements.find(termsId);
    if (state == PopupState::Completed && isSignedIn() && found != m_now.agreements.end()) {
        found->second = true;
    }
    return state;
}

Result<Identity> Account::identity() const {
    if (!isSignedIn()) {
        return {Outcome::NoAccount};
    }
    return {Outcome::Ok, *m_now.identity};
}

Result<bool> Account::isAgreed(const std::string& termsId) const {
    if (!isSignedIn()) {
        return {Outcome::NoAccount};
    }
    const auto found = m_now.agreements.find(termsId);
    if (found == m_now.agreements.end()) {
        return {Outcome::Unknown};
    }
    return {Outcome::Ok, found->second};
}

Result<std::string> Account::accessToken(const std::string& clientId,
                                         const std::string& secret) const {
    if (!isSignedIn()) {
        return {Outcome::NoAccount};
    }
    const auto client = m_now.clients.find(clientId);
    if (client == m_now.clients.end() || client->second.secret != secret) {
        return {Outcome::Unknown};
    }
    return {Outcome::Ok, client->second.token};
}

Result<std::vector<Mapping>> Account::mappings(const std::string& appId,
                                               const std::string& cpName) const {
    if (!isSignedIn()) {
        return {Outcome::NoAccount};
    }
    return {Outcome::Ok, m_now.mappings.list(appId, cpName)};
}

Outcome Account::addMapping(const Mapping& mapping) {
    if (!isSignedIn()) {
        return Outcome::NoAccount;
    }
    if (mapping.appId.empty() || mapping.cpName.empty() || mapping.cpUid.empty()) {
        return Outcome::Invalid;
    }
    return m_now.mappings.add(mapping) ? Outcome::Ok : Outcome::Duplicate;
}

Outcome Account::removeMapping(const Mapping& mapping) {
    if (!isSignedIn()) {
        return Outcome::NoAccount;
    }
    return m_now.mappings.remove(mapping) ? Outcome::Ok : Outcome::Unknown;
}

}  // namespace account
