#include "database.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <vector>

namespace {

std::vector<std::string> column(const std::filesystem::path& file, const std::string& sql) {
    sqlite3* database = nullptr;
    std::vector<std::string> texts;
    if (sqlite3_open(file.c_str(), &database) == SQLITE_OK) {
        sqlite3_busy_timeout(database, 5000);
        const auto take = [](void* user, int, char** values, char**) {
            static_cast<std::vector<std::string>*>(user)->emplace_back(values[0]);
            return 0;
        };
        char* error = nullptr;
        sqlite3_exec(database, sql.c_str(), take, &texts, &error);
        if (error != nullptr) texts = {error};
        sqlite3_free(error);
    }
    sqlite3_close(database);
    return texts;
}

}  // namespace

std::string integrity(const std::filesystem::path& file) {
    const auto lines = column(file, "PRAGMA integrity_check");
    return lines.empty() ? "nothing" : lines.front();
}

std::set<std::string> mappedUsers(const std::filesystem::path& file) {
    const auto users = column(file, "SELECT cp_uid FROM mapping");
    return {users.begin(), users.end()};
}

void execute(const std::filesystem::path& file, const std::string& sql) {
    EXPECT_EQ(column(file, sql), std::vector<std::string>{});
}
