#include "sources/browsers/FirefoxBookmarks.h"

#include "sources/Addresses.h"

namespace siftwell {

namespace {

// Each tag is a folder within this one. Older versions name it in a table of its own, newer ones
// know it by a name that never changes.
std::string folderOfTags(BrowserDatabase& database, const BrowserDatabase::Columns& columns) {
    if (database.columnsOf("moz_bookmarks_roots", {"root_name", "folder_id"})) {
        return "SELECT folder_id FROM moz_bookmarks_roots WHERE root_name = 'tags'";
    }
    if (columns.contains("guid")) return "SELECT id FROM moz_bookmarks WHERE guid = 'tags________'";
    return "SELECT NULL";
}

std::optional<BrowserEntry> bookmarkIn(const PLSqliteResultSet& row) {
    if (row.isNullForColumnIndex(0)) return std::nullopt;
    BrowserEntry entry;
    if (!row.isNullForColumnIndex(2)) {
        entry.date = kFirefoxDates.date(row.bigIntForColumnIndex(2));
    }
    entry.url = row.stringForColumnIndex(0);
    if (!isTakenBookmark(entry.url)) return std::nullopt;
    if (!row.isNullForColumnIndex(1)) entry.title = takenTitle(row.stringForColumnIndex(1));
    return entry;
}

}  // namespace

Status readFirefoxBookmarks(BrowserDatabase& database, const TakeEntry& take) {
    const auto columns =
        database.columnsOf("moz_bookmarks", {"id", "type", "fk", "parent", "title", "dateAdded"});
    const auto pages = database.columnsOf("moz_places", {"id", "url"});
    if (!columns || !pages) return columns ? pages.status() : columns.status();
    const std::string query =
        "SELECT " + textIn("p.url") + ", " + textIn("b.title") +
        ", CASE typeof(b.dateAdded) WHEN 'integer' THEN b.dateAdded END FROM moz_bookmarks b "
        "CROSS JOIN moz_places p ON p.id = b.fk WHERE b.type = 1 AND coalesce(b.parent, 0) NOT IN "
        "(SELECT id FROM moz_bookmarks WHERE parent IN (" +
        folderOfTags(database, *columns) + "))";
    std::size_t taken = 0;
    return database.forEachRow(query, {}, [&](const PLSqliteResultSet& row) {
        auto entry = bookmarkIn(row);
        return !entry || (++taken <= kMaxAddresses && take(*std::move(entry)));
    });
}

}  // namespace siftwell
