#include "account/account.h"

#include <algorithm>
#include <utility>

namespace account {
namespace {

/// The first user's first token is the client's own, so that it can be written in a file; all others
/// tell whose they are. The same user and number give the same text.
std::string tokenText(const Client& client, const Profile& profile, bool isFirst, int number) {
    std::string text = client.token;
    if (!isFirst) text += "-" + profile.identity.uid;
    if (number > 1) text += "-" + std::to_string(number);
    return text;
}

}  // namespace

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

Account::Account(Description description, Recorder* recorder)
    : m_now(std::move(description)), m_recorder(recorder) {}

const Profile* Account::find(const std::string& loginId) const {
    const auto found =
        std::find_if(m_now.profiles.begin(), m_now.profiles.end(),
                     [&](const Profile& profile) { return profile.identity.loginId == loginId; });
    return found != m_now.profiles.end() ? &*found : nullptr;
}

const Profile* Account::current() const { return m_now.signedIn ? find(*m_now.signedIn) : nullptr; }

Profile* Account::current() { return const_cast<Profile*>(std::as_const(*this).current()); }

Outcome Account::signIn(const std::string& loginId) {
    if (find(loginId) == nullptr) return Outcome::Unknown;
    record(&Recorder::session, &loginId);
    m_now.signedIn = loginId;
    return Outcome::Ok;
}

void Account::signOut() {
    record(&Recorder::session, nullptr);
    m_now.signedIn.reset();
}

PopupState Account::endLogin(PopupState state) {
    if (state != PopupState::Completed || isSignedIn()) return state;
    if (m_now.profiles.empty()) return PopupState::Failed;
    signIn(std::string(m_now.profiles.front().identity.loginId));
    return PopupState::Completed;
}

PopupState Account::endTerms(PopupState state, const std::string& termsId) {
    Profile* profile = current();
    const auto found = m_now.terms.find(termsId);
    if (state == PopupState::Completed && profile != nullptr && found != m_now.terms.end()) {
        record(&Recorder::agreement, profile->identity.loginId, termsId, found->second.version);
        profile->agreements[termsId] = found->second.version;
    }
    return state;
}

Result<Identity> Account::identity() const {
    const Profile* profile = current();
    if (profile == nullptr) return {Outcome::NoAccount};
    return {Outcome::Ok, profile->identity};
}

Result<bool> Account::isAgreed(const std::string& termsId) const {
    const Profile* profile = current();
    if (profile == nullptr) return {Outcome::NoAccount};
    const auto document = m_now.terms.find(termsId);
    if (document == m_now.terms.end()) return {Outcome::Unknown};
    const auto agreement = profile->agreements.find(termsId);
    return {Outcome::Ok, agreement != profile->agreements.end() &&
                             agreement->second == document->second.version};
}

Result<std::string> Account::accessToken(const std::string& clientId, const std::string& secret,
                                         Time now) {
    Profile* profile = current();
    if (profile == nullptr) return {Outcome::NoAccount};
    const auto found = m_now.clients.find(clientId);
    if (found == m_now.clients.end() || found->second.secret != secret) return {Outcome::Unknown};
    const Client& client = found->second;
    const auto had = profile->tokens.find(clientId);
    if (had != profile->tokens.end() && !had->second.isExpired(now)) {
        return {Outcome::Ok, had->second.text};
    }
    Token token;
    if (had != profile->tokens.end()) token.number = had->second.number + 1;
    token.text = tokenText(client, *profile, profile == &m_now.profiles.front(), token.number);
    if (client.lifetime) token.expiry = now + *client.lifetime;
    record(&Recorder::token, profile->identity.loginId, clientId, token);
    profile->tokens[clientId] = token;
    return {Outcome::Ok, token.text};
}

Result<std::vector<Mapping>> Account::mappings(const std::string& appId,
                                               const std::string& cpName) const {
    const Profile* profile = current();
    if (profile == nullptr) return {Outcome::NoAccount};
    return {Outcome::Ok, profile->mappings.list(appId, cpName)};
}

Outcome Account::addMapping(const Mapping& mapping) {
    Profile* profile = current();
    if (profile == nullptr) return Outcome::NoAccount;
    if (mapping.appId.empty() || mapping.cpName.empty() || mapping.cpUid.empty()) {
        return Outcome::Invalid;
    }
    if (profile->mappings.contains(mapping)) return Outcome::Duplicate;
    record(&Recorder::mappingAdded, profile->identity.loginId, mapping);
    profile->mappings.add(mapping);
    return Outcome::Ok;
}

Outcome Account::removeMapping(const Mapping& mapping) {
    Profile* profile = current();
    if (profile == nullptr) return Outcome::NoAccount;
    if (!profile->mappings.contains(mapping)) return Outcome::Unknown;
    record(&Recorder::mappingRemoved, profile->identity.loginId, mapping);
    profile->mappings.remove(mapping);
    return Outcome::Ok;
}

}  // namespace account
