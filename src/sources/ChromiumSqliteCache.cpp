#include "sources/ChromiumSqliteCache.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <set>
#include <utility>

#include "base/Exception.h"
#include "base/Translate.h"
#include "sources/CacheFolder.h"
#include "sources/CachedResponse.h"
#include "sources/ChromiumResponse.h"

namespace siftwell {

namespace {

constexpr std::size_t kRowDigits = 19;

std::string nameOf(const std::string& database, std::int64_t row) {
    std::array<char, kRowDigits + 2> digits{};
    std::snprintf(digits.data(), digits.size(), "%019lld", static_cast<long long>(row));
    return database + ":" + digits.data();
}

struct Place {
    std::string database;
    std::int64_t row = 0;
};

std::optional<Place> placeOf(const std::string& name) {
    const std::size_t colon = name.find(':');
    Place place{name.substr(0, colon)};
    if (colon == std::string::npos || !ChromiumSqliteCache::isDatabaseName(place.database)) {
        return std::nullopt;
    }
    const char* const end = name.data() + name.size();
    const auto [last, error] = std::from_chars(name.data() + colon + 1, end, place.row);
    if (error != std::errc() || last != end) return std::nullopt;
    return place;
}

// Computed columns, which could make up anything, are not among them.
std::set<std::string> columnsOf(PLSqliteDatabase& database, const std::string& table) {
    std::set<std::string> columns;
    if (!database.tableExists(table)) return columns;
    const auto rows = database.executeQuery("PRAGMA table_info(" + table + ")");
    while (rows != nullptr && rows->next()) columns.insert(rows->stringForColumn("name"));
    return columns;
}

bool hasAll(const std::set<std::string>& columns, std::initializer_list<const char*> names) {
    return std::all_of(names.begin(), names.end(),
                       [&](const char* name) { return columns.contains(name); });
}

// The pieces one after another, without a gap.
std::optional<std::string> bodyOf(PLSqliteDatabase& database, std::int64_t row,
                                  std::uint64_t bytes) {
    const auto pieces = database.executeQuery(
        "SELECT \"start\", \"end\", \"blob\" FROM blobs WHERE res_id = ? AND length(\"blob\") <= ? "
        "ORDER BY \"start\"",
        {row, static_cast<std::int64_t>(BrowserCache::kMaxPageBytes)});
    std::string body;
    while (pieces != nullptr && pieces->next()) {
        const std::string piece = pieces->dataForColumnIndex(2);
        const auto size = static_cast<std::int64_t>(body.size());
        const auto end = static_cast<std::int64_t>(body.size() + piece.size());
        const bool isNext =
            pieces->bigIntForColumnIndex(0) == size && pieces->bigIntForColumnIndex(1) == end;
        if (!isNext || body.size() + piece.size() > bytes) return std::nullopt;
        body += piece;
    }
    return body;
}

}  // namespace

bool ChromiumSqliteCache::isDatabaseName(std::string_view name) {
    constexpr std::string_view kPrefix = "sqldb";
    return name.starts_with(kPrefix) && name.size() <= kPrefix.size() + 3 &&
           name.find_first_not_of("0123456789", kPrefix.size()) == std::string_view::npos;
}

Result<std::unique_ptr<ChromiumSqliteCache::Database>> ChromiumSqliteCache::openCopyOf(
    const std::string& name) const {
    const std::string path = m_folder + "/" + name;
    auto copy = PrivateDatabase::copyOf(path);
    if (!copy) return copy.status();
    auto database = std::make_unique<Database>(Database{*std::move(copy), nullptr});
    database->connection = PLSqliteDatabase::databaseWithPath(database->copy.path());
    PlausibleError error;
    if (!database->connection->openWithFlags(PLSqliteDatabase::kReadWrite, &error)) {
        return {StatusCode::Damaged, error.localizedDescription()};
    }
    const auto resources = columnsOf(*database->connection, "resources");
    const auto blobs = columnsOf(*database->connection, "blobs");
    if (!hasAll(resources, {"res_id", "cache_key", "head"}) ||
        !hasAll(blobs, {"res_id", "start", "end", "blob"})) {
        return {StatusCode::UnknownVersion,
                filledIn(_("The browser cache %@ is of a form that is not known."), path)};
    }
    if (resources.contains("last_used")) database->lastUsed = "last_used";
    if (resources.contains("doomed")) database->isLive = "doomed = 0";
    if (resources.contains("body_end")) database->bodyEnd = "body_end";
    return database;
}

Result<ChromiumSqliteCache::Database*> ChromiumSqliteCache::databaseNamed(const std::string& name) {
    const auto found = m_databases.find(name);
    if (found != m_databases.end()) return found->second.get();
    try {
        auto database = openCopyOf(name);
        if (!database) return database.status();
        return m_databases.emplace(name, *std::move(database)).first->second.get();
    } catch (const NamedException& exception) {
        return {StatusCode::Damaged, exception.reason()};
    }
}

Result<std::vector<BrowserCache::Entry>> ChromiumSqliteCache::entriesChangedAfter(Date date) {
    const auto files = entryFilesIn(m_folder, isDatabaseName);
    if (!files) return files.status();
    std::vector<Entry> entries;
    std::optional<Status> failure;
    for (const Entry& file : *files) {
        const auto database = databaseNamed(file.name);
        if (Status status =
                database ? addEntries(**database, file, date, entries) : database.status();
            !status.isOk()) {
            failure = std::move(status);
        }
    }
    if (failure && entries.empty()) return *std::move(failure);
    return entries;
}

Status ChromiumSqliteCache::addEntries(const Database& database, const Entry& file, Date after,
                                       std::vector<Entry>& entries) {
    try {
        const auto rows = database.connection->executeQuery("SELECT res_id, " + database.lastUsed +
                                                            " FROM resources WHERE " +
                                                            database.isLive + " ORDER BY res_id");
        while (rows != nullptr && rows->next()) {
            const Date changed = rows->isNullForColumnIndex(1)
                                     ? file.changed
                                     : chromiumDate(rows->bigIntForColumnIndex(1));
            if (changed <= after) continue;
            entries.push_back({nameOf(file.name, rows->bigIntForColumnIndex(0)), changed});
        }
        return {};
    } catch (const NamedException& exception) {
        return {StatusCode::Damaged, exception.reason()};
    }
}

std::optional<CachedResponse> ChromiumSqliteCache::responseIn(const Database& database,
                                                              std::int64_t row) {
    const auto found = database.connection->executeQuery(
        "SELECT cache_key, head, " + database.lastUsed + ", " + database.bodyEnd +
            " FROM resources WHERE res_id = ? AND " + database.isLive +
            " AND length(head) <= ? AND length(cache_key) <= ?",
        {row, static_cast<std::int64_t>(kMaxChromiumHeadBytes),
         static_cast<std::int64_t>(kMaxChromiumKeyBytes)});
    if (found == nullptr || !found->next()) return std::nullopt;
    const std::string key = found->stringForColumnIndex(0);
    const auto address = addressInChromiumKey(key);
    auto stored = readChromiumResponse(found->dataForColumnIndex(1));
    const std::int64_t bytes = found->bigIntForColumnIndex(3);
    if (!address || !stored || bytes < 0) return std::nullopt;
    const Date used = found->isNullForColumnIndex(2) ? Date::distantPast()
                                                     : chromiumDate(found->bigIntForColumnIndex(2));
    return CachedResponse{.url = std::string(*address),
                          .head = std::move(stored->head),
                          .bodyBytes = static_cast<std::uint64_t>(bytes),
                          .lastUsed = std::max(used, stored->received)};
}

std::optional<CachedPage> ChromiumSqliteCache::page(const std::string& name) {
    const auto place = placeOf(name);
    const auto database = place ? databaseNamed(place->database) : Status();
    if (!place || !database) return std::nullopt;
    try {
        const auto response = responseIn(**database, place->row);
        if (!response || !response->isPage()) return std::nullopt;
        auto body = bodyOf(*(*database)->connection, place->row, response->bodyBytes);
        return body ? response->pageWith(*std::move(body)) : std::nullopt;
    } catch (const NamedException&) {
        return std::nullopt;  // a row of strange types, or damaged: no page
    }
}

}  // namespace siftwell
