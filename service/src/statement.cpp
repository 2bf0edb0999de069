#include "statement.h"

#include "store.h"

namespace service {
namespace {

/// What SQLite says of itself is of the database and its file, never of the values.
[[noreturn]] void fail(sqlite3* database) { throw StoreError(sqlite3_errmsg(database)); }

void check(sqlite3* database, int result) {
    if (result != SQLITE_OK) fail(database);
}

}  // namespace

Statement::Statement(sqlite3* database, const char* sql) : m_database(database) {
    sqlite3_stmt* statement = nullptr;
    check(database, sqlite3_prepare_v2(database, sql, -1, &statement, nullptr));
    m_statement.reset(statement);
}

void Statement::bind(const std::string& value) {
    check(m_database, sqlite3_bind_text64(m_statement.get(), m_next++, value.data(), value.size(),
                                          SQLITE_TRANSIENT, SQLITE_UTF8));
}

void Statement::bind(std::int64_t value) {
    check(m_database, sqlite3_bind_int64(m_statement.get(), m_next++, value));
}

void Statement::bind(const std::optional<std::int64_t>& value) {
    if (value) {
        bind(*value);
    } else {
        check(m_database, sqlite3_bind_null(m_statement.get(), m_next++));
    }
}

bool Statement::step() {
    switch (sqlite3_step(m_statement.get())) {
        case SQLITE_ROW:
            return true;
        case SQLITE_DONE:
            return false;
        default:
            fail(m_database);
    }
}

void Statement::run() {
    while (step()) {
    }
}

std::string Statement::text(int column) const {
    const auto* text =
        reinterpret_cast<const char*>(sqlite3_column_text(m_statement.get(), column));
    const int size = sqlite3_column_bytes(m_statement.get(), column);
    return text != nullptr ? std::string(text, static_cast<std::size_t>(size)) : std::string();
}

std::int64_t Statement::number(int column) const {
    return sqlite3_column_int64(m_statement.get(), column);
}

bool Statement::isNull(int column) const {
    return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

void execute(sqlite3* database, const std::string& sql) {
    check(database, sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr));
}

std::int64_t numberOf(sqlite3* database, const char* sql) {
    Statement statement(database, sql);
    statement.step();
    return statement.number(0);
}

Transaction::Transaction(sqlite3* database, Kind kind) : m_database(database) {
    Statement(database, kind == Kind::Read ? "BEGIN" : "BEGIN IMMEDIATE").run();
}

Transaction::~Transaction() {
    if (m_database != nullptr) sqlite3_exec(m_database, "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit() {
    Statement(m_database, "COMMIT").run();
    m_database = nullptr;
}

}  // namespace service
