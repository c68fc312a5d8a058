// ChromiumSqliteCache: the newest form of the Chrome family's cache, one or more databases (sqldb0,
// sqldb1, …) of responses and the pieces of their bodies. An entry is named DATABASE:ROW.
//
// The browser holds them locked, so they are copied, once, when the first of them is asked for.
// Checksums are not verified, since SQLite's log has its own.
//
// Threads and errors: as BrowserCache.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "sources/BrowserCache.h"
#include "sources/CachedResponse.h"
#include "sources/PrivateDatabase.h"
#include "sqlite/PLSqliteDatabase.h"

namespace siftwell {

class ChromiumSqliteCache final : public BrowserCache {
public:
    explicit ChromiumSqliteCache(std::string folder) : m_folder(std::move(folder)) {}

    static bool isDatabaseName(std::string_view name);

    Result<std::vector<Entry>> entriesChangedAfter(Date date) override;
    std::optional<CachedPage> page(const std::string& name) override;

private:
    struct Database {
        PrivateDatabase copy;
        std::shared_ptr<PLSqliteDatabase> connection;  // goes before the copy does
        // What is asked for where there is no such column.
        std::string lastUsed = "NULL";
        std::string isLive = "1";
        std::string bodyEnd =
            "(SELECT max(\"end\") FROM blobs b WHERE b.res_id = resources.res_id)";
    };

    Result<Database*> databaseNamed(const std::string& name);
    Result<std::unique_ptr<Database>> openCopyOf(const std::string& name) const;
    static Status addEntries(const Database& database, const Entry& file, Date after,
                             std::vector<Entry>& entries);
    static std::optional<CachedResponse> responseIn(const Database& database, std::int64_t row);

    const std::string m_folder;
    std::map<std::string, std::unique_ptr<Database>> m_databases;
};

}  // namespace siftwell
