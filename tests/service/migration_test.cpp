// Stores of other versions.

#include "migration.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>

#include "account/account_file.h"
#include "database.h"
#include "statement.h"
#include "store.h"
#include "temporary_folder.h"

namespace {

using service::migrate;
using service::Migrations;
using service::numberOf;
using service::Store;
using service::StoreError;
using service::storeMigrations;
using service::versionOf;

class AnOlderStore : public ::testing::Test {
  protected:
    struct Close {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };
    using Database = std::unique_ptr<sqlite3, Close>;

    void SetUp() override {
        m_description = account::parseAccountFile(R"json({
            "account": { "loginId": "mia", "uid": "uid-1", "guid": "guid-1", "authToken": "auth-1" },
            "mappings": [{ "appID": "app", "cpName": "partner", "cpUID": "user" }],
            "clients": [{ "id": "id", "secret": "secret", "token": "token" }],
            "terms": { "terms-1": { "version": "3", "title": "Terms", "text": "Be kind." } }
        })json",
                                                  "state");
        Store(m_file).replace(m_description, {{"made", "1"}});
    }

    Database open() const { return open(m_file); }
    static Database open(const std::string& file) {
        sqlite3* database = nullptr;
        EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        return Database(database);
    }

    /// A program that is one version further.
    static Migrations next(const char* step) {
        Migrations all = storeMigrations();
        all.push_back(step);
        return all;
    }

    void expectAsBefore() {
        Store store(m_file);
        EXPECT_EQ(account::toJson(store.load()), account::toJson(m_description));
        EXPECT_EQ(store.value("made"), "1");
        EXPECT_EQ(integrity(m_file), "ok");
    }

    support::TemporaryFolder m_folder;
    const std::string m_file = m_folder.path("state.db");
    account::Description m_description;
};

// A program that ends at any moment leaves all of a version or nothing.
TEST_F(AnOlderStore, IsBroughtUpToDateAtOnce) {
    const Database database = open(":memory:");  // of no version
    int commits = 0;
    sqlite3_commit_hook(
        database.get(),
        [](void* count) {
            ++*static_cast<int*>(count);
            return 0;
        },
        &commits);
    migrate(database.get(), storeMigrations());
    EXPECT_EQ(commits, 1);
}

TEST_F(AnOlderStore, IsBroughtUpToDateAndLosesNothing) {
    const auto known = static_cast<std::int64_t>(storeMigrations().size());
    const Migrations later = next(
        "ALTER TABLE account ADD COLUMN colour TEXT NOT NULL DEFAULT 'blue';"
        "CREATE TABLE device (login_id TEXT REFERENCES account (login_id), name TEXT);"
        "INSERT INTO device SELECT login_id, uid || ' of ' || guid FROM account");
    {
        const Database database = open();
        migrate(database.get(), later);
        migrate(database.get(), later);  // nothing is left to be done
        EXPECT_EQ(versionOf(database.get(), later), known + 1);
        service::Statement row(database.get(),
                               "SELECT colour, name FROM account NATURAL JOIN device");
        ASSERT_TRUE(row.step());
        EXPECT_EQ(row.text(0), "blue");
        EXPECT_EQ(row.text(1), "uid-1 of guid-1");
        EXPECT_FALSE(row.step());
    }
    // This program knows nothing of that version, and says so. What it does know is all there.
    EXPECT_THROW(Store{m_file}, StoreError);
    service::execute(open().get(), "PRAGMA user_version = " + std::to_string(known));
    expectAsBefore();
}

TEST_F(AnOlderStore, StaysAsItIsWhenThatFails) {
    const Migrations broken =
        next("UPDATE account SET uid = 'lost'; DROP TABLE mapping; INSERT INTO nowhere VALUES (1)");
    EXPECT_THROW(migrate(open().get(), broken), StoreError);
    expectAsBefore();
}

TEST_F(AnOlderStore, ThatHasTablesAndNoVersionIsNoneOfOurs) {
    service::execute(open().get(), "PRAGMA user_version = 0; PRAGMA application_id = 0");
    const std::string before = m_folder.read("state.db");
    try {
        const Store store(m_file);
        FAIL();
    } catch (const StoreError& error) {
        EXPECT_EQ(std::string(error.what()),
                  m_file + " cannot be used: is a database of another program");
    }
    EXPECT_EQ(m_folder.read("state.db"), before);
}

}  // namespace
