#ifndef TESTS_SERVICE_DATABASE_H_
#define TESTS_SERVICE_DATABASE_H_

#include <filesystem>
#include <set>
#include <string>

/// What SQLite itself says of a database: "ok" or what is wrong.
std::string integrity(const std::filesystem::path& file);

/// The partner's users of all mappings in a state's database.
std::set<std::string> mappedUsers(const std::filesystem::path& file);

/// Does something to a database, which has to succeed.
void execute(const std::filesystem::path& file, const std::string& sql);

#endif
