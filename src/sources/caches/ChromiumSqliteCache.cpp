#include "sources/caches/ChromiumSqliteCache.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "base/Translate.h"
#include "sources/caches/CacheFolder.h"
#include "sources/caches/CachedResponse.h"
#include "sources/caches/ChromiumResponse.h"
#include "text/WholeNumber.h"

namespace siftwell {

namespace {

constexpr std::string_view kPrefix = "sqldb";
constexpr std::size_t kDatabaseDigits = 3;

template <typename Number>
std::optional<Number> numberIn(std::string_view digits) {
    const auto number = wholeNumberIn<Number>(digits);
    return number && *number >= 0 ? number : std::nullopt;
}

std::optional<std::uint16_t> numberOfDatabase(std::string_view name) {
    const std::string_view digits = name.substr(std::min(kPrefix.size(), name.size()));
    if (!name.starts_with(kPrefix) || digits.size() > kDatabaseDigits) return std::nullopt;
    return numberIn<std::uint16_t>(digits);
}

std::string fileOf(std::uint16_t database) {
    return std::string(kPrefix) + std::to_string(database);
}

bool isDatabaseFile(std::string_view name) {
    const auto number = numberOfDatabase(name);
    return number && name == fileOf(*number);
}

std::string nameOf(std::uint16_t database, std::int64_t row) {
    std::array<char, 40> name{};
    std::snprintf(name.data(), name.size(), "sqldb%03u:%019lld", static_cast<unsigned>(database),
                  static_cast<long long>(row));
    return name.data();
}

struct Place {
    std::uint16_t database = 0;
    std::int64_t row = 0;
};

std::optional<Place> placeOf(std::string_view name) {
    const std::size_t colon = std::min(name.find(':'), name.size());
    const auto database = numberOfDatabase(name.substr(0, colon));
    const auto row = numberIn<std::int64_t>(name.substr(std::min(colon + 1, name.size())));
    if (!database || !row) return std::nullopt;
    return Place{*database, *row};
}

std::optional<CachedResponse> responseIn(const PLSqliteResultSet& row) {
    const std::string key = row.stringForColumnIndex(0);
    const auto address = addressInChromiumKey(key);
    auto stored = readChromiumResponse(row.dataForColumnIndex(1));
    const std::int64_t bytes = row.bigIntForColumnIndex(2);
    if (!address || !stored || bytes < 0) return std::nullopt;
    const Date used = row.isNullForColumnIndex(3) ? Date::distantPast()
                                                  : chromiumDate(row.bigIntForColumnIndex(3));
    return CachedResponse{.url = std::string(*address),
                          .head = std::move(stored->head),
                          .bodyBytes = static_cast<std::uint64_t>(bytes),
                          .lastUsed = std::max(used, stored->received)};
}

const std::string kLastUsed = "CASE typeof(last_used) WHEN 'integer' THEN last_used END";

std::optional<CachedResponse> responseAt(BrowserDatabase& database, std::int64_t row) {
    std::optional<CachedResponse> response;
    const Status status = database.forEachRow(
        "SELECT cache_key, head, body_end, " + kLastUsed +
            " FROM resources WHERE res_id = ? AND doomed = 0 AND length(head) <= ? AND "
            "length(cache_key) <= ?",
        {row, static_cast<std::int64_t>(kMaxChromiumHeadBytes),
         static_cast<std::int64_t>(kMaxChromiumKeyBytes)},
        [&response](const PLSqliteResultSet& found) {
            response = responseIn(found);
            return false;
        });
    return status.isOk() ? response : std::nullopt;
}

// The pieces one after another, without a gap.
std::optional<std::string> bodyOf(BrowserDatabase& database, std::int64_t row,
                                  std::uint64_t bytes) {
    std::string body;
    bool isWhole = true;
    const auto append = [&](const PLSqliteResultSet& found) {
        const std::string piece = found.dataForColumnIndex(2);
        const std::size_t end = body.size() + piece.size();
        isWhole = std::cmp_equal(found.bigIntForColumnIndex(0), body.size()) &&
                  std::cmp_equal(found.bigIntForColumnIndex(1), end) && end <= bytes;
        if (isWhole) body += piece;
        return isWhole;
    };
    const Status status = database.forEachRow(
        R"(SELECT "start", "end", "blob" FROM blobs WHERE res_id = ? AND length("blob") <= ? )"
        R"(ORDER BY "start")",
        {row, static_cast<std::int64_t>(bytes)}, append);
    if (!status.isOk() || !isWhole) return std::nullopt;
    return body;
}

}  // namespace

Result<BrowserDatabase*> ChromiumSqliteCache::database(Number number) {
    if (m_open && m_open->number == number) return &m_open->database;
    m_open.reset();
    const std::string path = m_folder + "/" + fileOf(number);
    auto found = m_copies.find(number);
    if (found == m_copies.end()) {
        auto copy = PrivateDatabase::copyOf(path);
        if (!copy) return copy.status();
        found = m_copies.emplace(number, *std::move(copy)).first;
    }
    auto database = BrowserDatabase::open(found->second.path(), path, m_time);
    if (!database) return database.status();
    const auto resources = database->columnsOf(
        "resources", {"res_id", "last_used", "body_end", "doomed", "cache_key", "head"});
    const auto blobs = database->columnsOf("blobs", {"res_id", "start", "end", "blob"});
    if (!resources || !blobs) return resources ? blobs.status() : resources.status();
    m_open = Open{number, *std::move(database)};
    return &m_open->database;
}

BrowserCache::Listing ChromiumSqliteCache::entriesChangedAfter(Date date) {
    auto [files, failure] = entryFilesIn(m_folder, isDatabaseFile);
    std::map<Number, Date> changes;
    for (const Entry& file : files) changes[*numberOfDatabase(file.name)] = file.changed;
    Listing listing{.entries = {}, .status = std::move(failure)};
    for (const auto& [number, changed] : changes) {
        Status status = addEntries(number, changed, date, listing.entries);
        if (listing.status.isOk()) listing.status = std::move(status);
    }
    return listing;
}

Status ChromiumSqliteCache::addEntries(Number number, Date fileChanged, Date after,
                                       std::vector<Entry>& entries) {
    const auto opened = database(number);
    if (!opened) return opened.status();
    std::size_t rows = 0;
    Status status = (*opened)->forEachRow(
        "SELECT res_id, " + kLastUsed +
            " FROM resources WHERE typeof(res_id) = 'integer' AND res_id >= 0 AND doomed = 0 "
            "ORDER BY res_id",
        {}, [&](const PLSqliteResultSet& row) {
            const Date changed = row.isNullForColumnIndex(1)
                                     ? fileChanged
                                     : chromiumDate(row.bigIntForColumnIndex(1));
            if (++rows > kMaxEntries) return false;
            if (changed > after) {
                entries.push_back({nameOf(number, row.bigIntForColumnIndex(0)), changed});
            }
            return true;
        });
    if (!status.isOk() || rows <= kMaxEntries) return status;
    return {StatusCode::TooLarge,
            filledIn(_("The browser cache %@ has too many entries."), m_folder)};
}

std::optional<CachedPage> ChromiumSqliteCache::page(const std::string& name) {
    const auto place = placeOf(name);
    if (!place) return std::nullopt;
    const auto opened = database(place->database);
    if (!opened) return std::nullopt;
    const auto response = responseAt(**opened, place->row);
    if (!response || !response->isPage()) return std::nullopt;
    auto body = bodyOf(**opened, place->row, response->bodyBytes);
    return body ? response->pageWith(*std::move(body)) : std::nullopt;
}

}  // namespace siftwell
