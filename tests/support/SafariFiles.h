// SafariFiles: databases and responses as Safari writes them, for tests.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>

#include "base/PropertyListFormat.h"
#include "sqlite/PLSqliteDatabase.h"

namespace siftwell {

using TestDatabase = std::shared_ptr<PLSqliteDatabase>;

inline void run(const TestDatabase& database, const std::string& statement,
                const PropertyList::Array& args = {}) {
    const auto rows = database->executeQuery(statement, args);
    ASSERT_NE(rows, nullptr) << statement << ": " << database->lastErrorMessage();
    while (rows->next()) {
    }
}

// In write-ahead mode; what is written stays in the log for as long as it is open.
inline TestDatabase makeDatabase(const std::string& path,
                                 std::initializer_list<const char*> statements = {}) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    auto database = PLSqliteDatabase::databaseWithPath(path);
    EXPECT_TRUE(database->open());
    for (const char* pragma : {"journal_mode=WAL", "wal_autocheckpoint=0", "synchronous=OFF"}) {
        run(database, std::string("PRAGMA ") + pragma);
    }
    for (const char* statement : statements) run(database, statement);
    return database;
}

inline TestDatabase makeHistory(const std::string& path) {
    return makeDatabase(path, {"CREATE TABLE history_items (id INTEGER PRIMARY KEY, url TEXT)",
                               "CREATE TABLE history_visits (history_item INTEGER, visit_time "
                               "REAL, redirect_destination INTEGER)"});
}
inline void visit(const TestDatabase& history, const std::string& address, double time,
                  const PropertyList& redirect = {}) {
    run(history, "INSERT INTO history_items (url) VALUES (?)", {address});
    run(history, "INSERT INTO history_visits VALUES (last_insert_rowid(), ?, ?)", {time, redirect});
}

inline PropertyList blob(std::string bytes) { return PropertyList::Data{std::move(bytes)}; }

inline std::string responseObject(const char* address, const char* contentType = "text/html") {
    using Dictionary = PropertyList::Dictionary;
    return serializePropertyList(Dictionary{
        {"Array", PropertyList::Array{Dictionary{{"_CFURLString", address}}, 1.5, 0, 200,
                                      Dictionary{{"Content-Type", contentType}}, 5, "text/html"}}});
}

}  // namespace siftwell
