#include "sources/safari/SafariCacheDatabase.h"

#include <sqlite3.h>

#include <utility>

#include "base/Clock.h"
#include "base/Exception.h"
#include "base/Files.h"
#include "base/Log.h"
#include "sources/Addresses.h"
#include "sources/safari/CacheResponse.h"
#include "sources/safari/SafariDatabase.h"

namespace siftwell {

namespace {

constexpr int kMaxResponseBytes = 1 << 20;

// The SQL of a value that is null when it is longer. SQLite need not read it to know. File names
// are stored as text or as a blob.
std::string bytesIn(const std::string& column, int maxBytes) {
    return "CASE WHEN length(" + column + ") <= " + std::to_string(maxBytes) + " THEN CAST(" +
           column + " AS BLOB) END";
}

std::string queryFor(const std::string& laterThan) {
    return "SELECT cfurl_cache_response.time_stamp, " +
           bytesIn("cfurl_cache_blob_data.response_object", kMaxResponseBytes) +
           ", cfurl_cache_receiver_data.isDataOnFS, " +
           bytesIn("cfurl_cache_receiver_data.receiver_data", PLSqliteDatabase::kMaxConfinedBytes) +
           ", cfurl_cache_response.entry_ID FROM cfurl_cache_blob_data, "
           "cfurl_cache_receiver_data, cfurl_cache_response WHERE "
           "cfurl_cache_blob_data.entry_ID=cfurl_cache_response.entry_ID and "
           "cfurl_cache_receiver_data.entry_ID=cfurl_cache_response.entry_ID and time_stamp > '" +
           laterThan + "';";
}
enum Column { kTimeStamp, kResponse, kIsDataOnFS, kBody, kEntryID };

// The caches of a program share their folder with other databases of it, and with what only looks
// like one.
bool isOfAnotherForm(const PLSqliteDatabase& database) {
    const int error = database.lastErrorCode() & 0xFF;
    return error == SQLITE_ERROR || error == SQLITE_NOTADB;
}

// Null when this is no cache.
std::unique_ptr<PLSqliteResultSet> rowsLaterThan(PLSqliteDatabase& database,
                                                 const std::string& text) {
    try {
        return rowsOf(database, queryFor(text));
    } catch (const NamedException& exception) {
        if (!isOfAnotherForm(database)) throw;
        writeLog("There are no cached pages in " + database.path() + ": " + exception.reason());
        return nullptr;
    }
}

// It may not lead out of the folder.
bool isFileName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

std::optional<std::string> bodyIn(const PLSqliteResultSet& row, const std::string& folder) {
    std::string bytes = row.dataForColumnIndex(kBody);
    const bool isDataOnFS =
        !row.isNullForColumnIndex(kIsDataOnFS) && row.bigIntForColumnIndex(kIsDataOnFS) != 0;
    if (!isDataOnFS) return bytes;
    if (!isFileName(bytes)) return std::nullopt;
    return bytesOfCachedFile(folder + "/fsCachedData/" + bytes);
}

std::optional<SafariCacheEntry> entryIn(const PLSqliteResultSet& row, const std::string& folder) {
    const auto date = Date::parseUtc(row.stringForColumnIndex(kTimeStamp));
    if (row.isNullForColumnIndex(kBody) || row.isNullForColumnIndex(kResponse)) return std::nullopt;
    // Before the body, which need not be read where there is no address.
    auto response = cachedResponseWithResponse(row.dataForColumnIndex(kResponse), "");
    if (!response) return std::nullopt;
    auto body = bodyIn(row, folder);
    if (!body) return std::nullopt;
    response->data = *std::move(body);
    return SafariCacheEntry{.entryID = row.bigIntForColumnIndex(kEntryID),
                            .date = date,
                            .response = *std::move(response)};
}

}  // namespace

std::size_t readSafariCache(PLSqliteDatabase& database, const std::string& folder,
                            const std::string& laterThan, const TakeCacheEntry& take) {
    const auto rows = rowsLaterThan(database, laterThan);
    std::size_t count = 0;
    while (rows != nullptr && count < kMaxAddresses && rows->next()) {
        ++count;
        const auto start = processorTimeOfThread();
        auto entry = entryIn(*rows, folder);
        const bool goesOn = !entry || take(*std::move(entry));
        // Indexing a page takes longer than reading its row, and on the same thread.
        database.extendProcessorTime(processorTimeOfThread() - start);
        if (!goesOn) break;
    }
    return count;
}

void readBackSafariCache(PLSqliteDatabase& database, std::int64_t entryID,
                         const std::function<void(CachedURLResponse)>& take) {
    const auto rows =
        rowsOf(database,
               "SELECT cfurl_cache_blob_data.response_object, cfurl_cache_blob_data.receiver_data "
               "FROM cfurl_cache_blob_data WHERE cfurl_cache_blob_data.entry_ID=" +
                   std::to_string(entryID) + ";");
    while (rows->next()) {
        auto response =
            cachedResponseWithResponse(rows->dataForColumnIndex(0), rows->dataForColumnIndex(1));
        if (response) take(*std::move(response));
    }
}

std::optional<std::string> bytesOfCachedFile(const std::string& path) {
    auto bytes = readFile(path, kMaxCachedBytes + 1);
    if (!bytes || bytes->size() > kMaxCachedBytes) return std::nullopt;
    return *std::move(bytes);
}

}  // namespace siftwell
