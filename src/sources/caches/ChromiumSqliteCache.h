// ChromiumSqliteCache: the newest form of the Chrome family's cache, one or more databases (sqldb0,
// sqldb1, …) of responses and the pieces of their bodies. An entry is named DATABASE:ROW, with the
// zeros in front of both numbers that put the names in the order of the numbers.
//
// The browser holds them locked, so each is copied, once, when the first of its entries is asked
// for; one copy is open at a time. Checksums are not verified, since SQLite's log has its own.
//
// Threads and errors: as BrowserCache and BrowserDatabase.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "sources/PrivateDatabase.h"
#include "sources/browsers/BrowserDatabase.h"
#include "sources/caches/BrowserCache.h"

namespace siftwell {

class ChromiumSqliteCache final : public BrowserCache {
public:
    // Of the processor's, for one database; what becomes of its pages in this thread counts as
    // well.
    static constexpr std::chrono::milliseconds kTime = std::chrono::minutes(5);

    explicit ChromiumSqliteCache(std::string folder, std::chrono::milliseconds time = kTime)
        : m_folder(std::move(folder)), m_time(time) {}

    Listing entriesChangedAfter(Date date) override;
    std::optional<CachedPage> page(const std::string& name) override;

private:
    using Number = std::uint16_t;  // of a database
    struct Open {
        Number number;
        BrowserDatabase database;
    };

    Result<BrowserDatabase*> database(Number number);
    Status addEntries(Number number, Date fileChanged, Date after, std::vector<Entry>& entries);

    const std::string m_folder;
    const std::chrono::milliseconds m_time;
    std::map<Number, PrivateDatabase> m_copies;
    std::optional<Open> m_open;  // goes before its copy does
};

}  // namespace siftwell
