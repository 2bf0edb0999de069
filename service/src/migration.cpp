#include "migration.h"

#include <string>

#include "statement.h"
#include "store.h"

namespace service {
namespace {

// What somebody has done with the file that is not a store's ("SSO1").
constexpr std::int64_t kApplicationId = 0x53534f31;

}  // namespace

// Only ever add one.
const Migrations& storeMigrations() {
    static const Migrations all = {
        R"(
    CREATE TABLE setting (name TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;
    CREATE TABLE account (
        position INTEGER PRIMARY KEY,
        login_id TEXT NOT NULL UNIQUE, uid TEXT NOT NULL, guid TEXT NOT NULL, auth_token TEXT NOT NULL,
        display_name TEXT NOT NULL, password TEXT NOT NULL);
    CREATE TABLE session (
        one INTEGER PRIMARY KEY CHECK (one = 1),
        login_id TEXT NOT NULL REFERENCES account (login_id) ON DELETE CASCADE);
    CREATE TABLE client (
        id TEXT PRIMARY KEY, secret TEXT NOT NULL, token TEXT NOT NULL, lifetime INTEGER) WITHOUT ROWID;
    CREATE TABLE token (
        login_id TEXT NOT NULL REFERENCES account (login_id) ON DELETE CASCADE,
        client TEXT NOT NULL REFERENCES client (id) ON DELETE CASCADE,
        text TEXT NOT NULL, number INTEGER NOT NULL, expiry INTEGER,
        PRIMARY KEY (login_id, client)) WITHOUT ROWID;
    CREATE TABLE terms (
        id TEXT PRIMARY KEY, version TEXT NOT NULL, title TEXT NOT NULL, text TEXT NOT NULL) WITHOUT ROWID;
    CREATE TABLE agreement (
        login_id TEXT NOT NULL REFERENCES account (login_id) ON DELETE CASCADE,
        terms TEXT NOT NULL, version TEXT NOT NULL,
        PRIMARY KEY (login_id, terms)) WITHOUT ROWID;
    CREATE TABLE mapping (
        age INTEGER PRIMARY KEY AUTOINCREMENT,
        login_id TEXT NOT NULL REFERENCES account (login_id) ON DELETE CASCADE,
        app_id TEXT NOT NULL, cp_name TEXT NOT NULL, cp_uid TEXT NOT NULL,
        UNIQUE (login_id, app_id, cp_name, cp_uid));
    )"};
    return all;
}

std::int64_t versionOf(sqlite3* database, const Migrations& migrations) {
    const std::int64_t version = numberOf(database, "PRAGMA user_version");
    const auto known = static_cast<std::int64_t>(migrations.size());
    // Nobody's is what has nothing in it, as a file that was just made.
    const bool isNew =
        version == 0 && numberOf(database, "SELECT count(*) FROM sqlite_schema") == 0;
    if (!isNew && numberOf(database, "PRAGMA application_id") != kApplicationId) {
        throw StoreError("is a database of another program");
    }
    if (version > known) {
        throw StoreError("is of version " + std::to_string(version) +
                         " and this program knows versions up to " + std::to_string(known) +
                         "; use the newer program, or another state");
    }
    return version;
}

void migrate(sqlite3* database, const Migrations& migrations) {
    Transaction transaction(database);
    const std::int64_t version = versionOf(database, migrations);
    if (version == static_cast<std::int64_t>(migrations.size())) return;
    for (auto i = static_cast<std::size_t>(version); i < migrations.size(); ++i) {
        execute(database, migrations[i]);
    }
    execute(database, "PRAGMA user_version = " + std::to_string(migrations.size()));
    execute(database, "PRAGMA application_id = " + std::to_string(kApplicationId));
    transaction.commit();
}

}  // namespace service
