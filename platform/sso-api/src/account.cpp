#include "account.h"

#include <cstddef>

namespace sso_api {
namespace {

static_assert(sizeof(sso_login_info) == 1408, "callers reserve exactly this");

Outcome failed(int result) { return {result, SSO_POPUP_FAILED, nullptr}; }

Outcome done() { return {}; }

Outcome given(const std::string& text) {
    Outcome outcome;
    outcome.text = copyForC(text.c_str());
    return outcome;
}

Answer refused(int result) { return {result, {}, {}, {}}; }

Answer state(int value) { return {SSO_OK, value, {}, {}}; }

Answer text(const std::string& value) { return {SSO_OK, {}, {}, value}; }

/// @param text  shorter than the field, by the rules of the account file.
template <std::size_t size>
void copyTo(char (&field)[size], const std::string& text) {
    text.copy(field, size - 1);
}

}  // namespace

Account::Account(const AccountFile& file) : m_file(file) {
    for (const Mapping& mapping : m_file.mappings) {
        m_mappings.add(mapping);
    }
}

bool Account::isUnavailable(const std::string& function) const {
    return m_file.unavailable.count(function) != 0;
}

const Identity* Account::signedIn() const {
    return m_file.signedIn && m_file.identity ? &*m_file.identity : nullptr;
}

void Account::signIn() { m_file.signedIn = true; }

void Account::agree(const std::string& termsId) {
    const auto found = m_file.agreements.find(termsId);
    if (signedIn() != nullptr && found != m_file.agreements.end()) {
        found->second = true;
    }
}

Outcome Account::accessToken(const std::string& clientId, const std::string& secret) const {
    if (signedIn() == nullptr) {
        return failed(SSO_ERROR_NO_ACCOUNT);
    }
    const auto client = m_file.clients.find(clientId);
    if (client == m_file.clients.end() || client->second.secret != secret) {
        return failed(SSO_ERROR_UNKNOWN);
    }
    return given(client->second.token);
}

Outcome Account::listMappings(const std::string& appId, const std::string& cpName) const {
    if (signedIn() == nullptr) {
        return failed(SSO_ERROR_NO_ACCOUNT);
    }
    return given(m_mappings.list(appId, cpName));
}

Outcome Account::addMapping(const Mapping& mapping) {
    if (signedIn() == nullptr) {
        return failed(SSO_ERROR_NO_ACCOUNT);
    }
    if (mapping.appId.empty() || mapping.cpName.empty() || mapping.cpUid.empty()) {
        return failed(SSO_ERROR_INVALID);
    }
    return m_mappings.add(mapping) ? done() : failed(SSO_ERROR_DUPLICATE);
}

Outcome Account::removeMapping(const Mapping& mapping) {
    if (signedIn() == nullptr) {
        return failed(SSO_ERROR_NO_ACCOUNT);
    }
    return m_mappings.remove(mapping) ? done() : failed(SSO_ERROR_UNKNOWN);
}

Answer Account::loginState() const {
    return state(signedIn() != nullptr ? SSO_LOGIN_STATE_SIGNED_IN : SSO_LOGIN_STATE_SIGNED_OUT);
}

Answer Account::termState(const std::string& termsId) const {
    if (signedIn() == nullptr) {
        return refused(SSO_ERROR_NO_ACCOUNT);
    }
    const auto agreement = m_file.agreements.find(termsId);
    if (agreement == m_file.agreements.end()) {
        return refused(SSO_ERROR_UNKNOWN);
    }
    return state(agreement->second ? SSO_TERM_STATE_AGREED : SSO_TERM_STATE_NOT_AGREED);
}

Answer Account::loginInfo() const {
    const Identity* identity = signedIn();
    if (identity == nullptr) {
        return refused(SSO_ERROR_NO_ACCOUNT);
    }
    sso_login_info info{};
    copyTo(info.login_id, identity->loginId);
    copyTo(info.uid, identity->uid);
    return {SSO_OK, {}, info, {}};
}

Answer Account::guid() const {
    const Identity* identity = signedIn();
    return identity != nullptr ? text(identity->guid) : refused(SSO_ERROR_NO_ACCOUNT);
}

Answer Account::authToken() const {
    const Identity* identity = signedIn();
    return identity != nullptr ? text(identity->authToken) : refused(SSO_ERROR_NO_ACCOUNT);
}

}  // namespace sso_api
