#ifndef SERVICE_MIGRATION_H_
#define SERVICE_MIGRATION_H_

#include <sqlite3.h>

#include <cstdint>
#include <vector>

namespace service {

/// How a store's tables come to be: the SQL that leads from each version to the next, the first from nothing.
using Migrations = std::vector<const char*>;

/// Those of a store as this program knows it.
const Migrations& storeMigrations();

/// Reads which of them a database has been through; changes nothing.
///
/// @throws StoreError  when it is another program's, or has been through more than these.
std::int64_t versionOf(sqlite3* database, const Migrations& migrations);

/// Brings a database up to date, at once or not at all.
///
/// @throws StoreError  as versionOf(), and when that fails.
void migrate(sqlite3* database, const Migrations& migrations);

}  // namespace service

#endif
