#include "store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "migration.h"
#include "statement.h"

namespace service {
namespace {

constexpr int kBusyMs = 5000;

/// The file is there for its user alone before anything is in it.
void makePrivate(const std::filesystem::path& file) {
    const int made = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (made < 0) {
        throw StoreError(file.string() + ": " + std::generic_category().message(errno));
    }
    fchmod(made, 0600);
    close(made);
}

void insertMapping(sqlite3* database, const std::string& loginId, const account::Mapping& mapping) {
    Statement(database,
              "INSERT INTO mapping (login_id, app_id, cp_name, cp_uid) VALUES (?, ?, ?, ?)",
              loginId, mapping.appId, mapping.cpName, mapping.cpUid)
        .run();
}

void putSession(sqlite3* database, const std::string& loginId) {
    Statement(database, "INSERT OR REPLACE INTO session (one, login_id) VALUES (1, ?)", loginId)
        .run();
}

void putAgreement(sqlite3* database, const std::string& loginId, const std::string& termsId,
                  const std::string& version) {
    Statement(database,
              "INSERT OR REPLACE INTO agreement (login_id, terms, version) VALUES (?, ?, ?)",
              loginId, termsId, version)
        .run();
}

void putToken(sqlite3* database, const std::string& loginId, const std::string& clientId,
              const account::Token& token) {
    Statement(database,
              "INSERT OR REPLACE INTO token (login_id, client, text, number, expiry) "
              "VALUES (?, ?, ?, ?, ?)",
              loginId, clientId, token.text, std::int64_t{token.number}, token.expiry)
        .run();
}

void putProfile(sqlite3* database, const account::Profile& profile) {
    const account::Identity& identity = profile.identity;
    Statement(database,
              "INSERT INTO account (login_id, uid, guid, auth_token, display_name, password) "
              "VALUES (?, ?, ?, ?, ?, ?)",
              identity.loginId, identity.uid, identity.guid, identity.authToken,
              profile.displayName, profile.password)
        .run();
    for (const account::Mapping& mapping : profile.mappings.all()) {
        insertMapping(database, identity.loginId, mapping);
    }
    for (const auto& [terms, version] : profile.agreements) {
        putAgreement(database, identity.loginId, terms, version);
    }
    for (const auto& [client, token] : profile.tokens) {
        putToken(database, identity.loginId, client, token);
    }
}

account::Profile readProfile(sqlite3* database, const Statement& row) {
    account::Profile profile;
    profile.identity = {row.text(0), row.text(1), row.text(2), row.text(3)};
    profile.displayName = row.text(4);
    profile.password = row.text(5);
    const std::string& loginId = profile.identity.loginId;
    Statement mappings(
        database, "SELECT app_id, cp_name, cp_uid FROM mapping WHERE login_id = ? ORDER BY age",
        loginId);
    while (mappings.step()) {
        profile.mappings.add({mappings.text(0), mappings.text(1), mappings.text(2)});
    }
    Statement agreements(database, "SELECT terms, version FROM agreement WHERE login_id = ?",
                         loginId);
    while (agreements.step()) profile.agreements[agreements.text(0)] = agreements.text(1);
    Statement tokens(database, "SELECT client, text, number, expiry FROM token WHERE login_id = ?",
                     loginId);
    while (tokens.step()) {
        account::Token& token = profile.tokens[tokens.text(0)];
        token.text = tokens.text(1);
        token.number = static_cast<int>(tokens.number(2));
        if (!tokens.isNull(3)) token.expiry = tokens.number(3);
    }
    return profile;
}

}  // namespace

Store::Store(const std::filesystem::path& file) {
    makePrivate(file);
    sqlite3* database = nullptr;
    const int opened = sqlite3_open_v2(file.c_str(), &database,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, nullptr);
    m_database.reset(database);
    try {
        if (opened != SQLITE_OK) throw StoreError(sqlite3_errmsg(database));
        sqlite3_busy_timeout(database, kBusyMs);
        execute(database, "PRAGMA trusted_schema = OFF");
        versionOf(database, storeMigrations());  // before anything is written
        // A change that was acknowledged is there after the machine's end, too.
        execute(database,
                "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
        migrate(database, storeMigrations());
        Statement check(database, "PRAGMA quick_check(1)");
        if (check.step() && check.text(0) != "ok") throw StoreError("is damaged: " + check.text(0));
    } catch (const StoreError& error) {
        throw StoreError(file.string() + " cannot be used: " + error.what());
    }
}

account::Description Store::load() {
    sqlite3* database = m_database.get();
    const Transaction transaction(database, Transaction::Kind::Read);
    account::Description description;
    Statement accounts(database,
                       "SELECT login_id, uid, guid, auth_token, display_name, password "
                       "FROM account ORDER BY position");
    while (accounts.step()) description.profiles.push_back(readProfile(database, accounts));
    Statement session(database, "SELECT login_id FROM session");
    if (session.step()) description.signedIn = session.text(0);
    Statement clients(database, "SELECT id, secret, token, lifetime FROM client");
    while (clients.step()) {
        account::Client& client = description.clients[clients.text(0)];
        client.secret = clients.text(1);
        client.token = clients.text(2);
        if (!clients.isNull(3)) client.lifetime = clients.number(3);
    }
    Statement terms(database, "SELECT id, version, title, text FROM terms");
    while (terms.step()) {
        description.terms[terms.text(0)] = {terms.text(1), terms.text(2), terms.text(3)};
    }
    return description;
}

void Store::replace(const account::Description& description,
                    const std::map<std::string, std::string>& values) {
    sqlite3* database = m_database.get();
    Transaction transaction(database);
    execute(database, "DELETE FROM account; DELETE FROM client; DELETE FROM terms");
    for (const auto& [id, client] : description.clients) {
        Statement(database, "INSERT INTO client (id, secret, token, lifetime) VALUES (?, ?, ?, ?)",
                  id, client.secret, client.token, client.lifetime)
            .run();
    }
    for (const auto& [id, document] : description.terms) {
        Statement(database, "INSERT INTO terms (id, version, title, text) VALUES (?, ?, ?, ?)", id,
                  document.version, document.title, document.text)
            .run();
    }
    for (const account::Profile& profile : description.profiles) putProfile(database, profile);
    if (description.signedIn) putSession(database, *description.signedIn);
    for (const auto& [name, value] : values) setValue(name, value);
    transaction.commit();
}

std::string Store::value(const std::string& name) {
    Statement statement(m_database.get(), "SELECT value FROM setting WHERE name = ?", name);
    return statement.step() ? statement.text(0) : std::string();
}

void Store::setValue(const std::string& name, const std::string& value) {
    Statement(m_database.get(), "INSERT OR REPLACE INTO setting (name, value) VALUES (?, ?)", name,
              value)
        .run();
}

std::int64_t Store::changes() { return numberOf(m_database.get(), "PRAGMA data_version"); }

void Store::session(const std::string* loginId) {
    if (loginId == nullptr) {
        Statement(m_database.get(), "DELETE FROM session").run();
    } else {
        putSession(m_database.get(), *loginId);
    }
}

void Store::agreement(const std::string& loginId, const std::string& termsId,
                      const std::string& version) {
    putAgreement(m_database.get(), loginId, termsId, version);
}

void Store::token(const std::string& loginId, const std::string& clientId,
                  const account::Token& token) {
    putToken(m_database.get(), loginId, clientId, token);
}

void Store::mappingAdded(const std::string& loginId, const account::Mapping& mapping) {
    insertMapping(m_database.get(), loginId, mapping);
}

void Store::mappingRemoved(const std::string& loginId, const account::Mapping& mapping) {
    Statement(m_database.get(),
              "DELETE FROM mapping WHERE login_id = ?1 AND app_id = ?2 AND cp_name = ?3 "
              "AND (?4 = '' OR cp_uid = ?4)",
              loginId, mapping.appId, mapping.cpName, mapping.cpUid)
        .run();
}

}  // namespace service
