#ifndef SERVICE_STATEMENT_H_
#define SERVICE_STATEMENT_H_

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace service {

/// One SQL statement with its values, which never stand in its text. Throws StoreError.
class Statement {
  public:
    Statement(sqlite3* database, const char* sql);
    template <typename... Values>
    Statement(sqlite3* database, const char* sql, const Values&... values)
        : Statement(database, sql) {
        (bind(values), ...);
    }

    /// @return whether there is a row, or another one.
    bool step();
    /// Runs it to its end.
    void run();

    std::string text(int column) const;
    std::int64_t number(int column) const;
    bool isNull(int column) const;

  private:
    void bind(const std::string& value);
    void bind(std::int64_t value);
    void bind(const std::optional<std::int64_t>& value);

    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    sqlite3* m_database;
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
    int m_next = 1;
};

/// Runs statements without values. Throws StoreError.
void execute(sqlite3* database, const std::string& sql);
/// The number that is a statement's answer. Throws StoreError.
std::int64_t numberOf(sqlite3* database, const char* sql);

/// Everything until commit(), or nothing. Throws StoreError.
class Transaction {
  public:
    /// A read is of one moment of the database, whoever writes; it needs no right to write.
    enum class Kind { Read, Write };

    explicit Transaction(sqlite3* database, Kind kind = Kind::Write);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

  private:
    sqlite3* m_database;
};

}  // namespace service

#endif
