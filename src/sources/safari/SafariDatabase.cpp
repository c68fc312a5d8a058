#include "sources/safari/SafariDatabase.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "base/Files.h"
#include "base/Url.h"
#include "sources/PathExpansion.h"
#include "sqlite/PLSqliteException.h"

namespace siftwell {

namespace {

// Whether it is in write-ahead mode without a log, and so in nobody's hands. Whoever opens such a
// file makes a log, and one that may only read leaves it there.
bool hasMergedLog(const std::string& path) {
    constexpr std::size_t kVersions = 18;  // place of the two versions, to write and to read
    const auto header = readFile(path, kVersions + 2);
    return header && header->size() == kVersions + 2 && header->substr(kVersions) == "\2\2" &&
           !fileInfo(path + "-wal");
}

// Years 1 to 9999: SQLite compares dates as text, with four digits.
std::tm localFields(Date date) {
    constexpr double kEarliest = -62135596800.0;
    constexpr double kLatest = 253402300799.0;
    const double seconds = std::clamp(std::floor(date.secondsSinceUnix()), kEarliest, kLatest);
    const auto time = static_cast<std::time_t>(seconds);
    std::tm fields{};
    localtime_r(&time, &fields);
    return fields;
}

}  // namespace

std::shared_ptr<PLSqliteDatabase> openInPlace(const std::string& path,
                                              std::chrono::milliseconds time) {
    const std::string file = resolvingSymbolicLinks(path);
    const bool isAtRest = hasMergedLog(file);
    auto database = PLSqliteDatabase::databaseWithPath(
        isAtRest ? Url::fromFilePath(file).absoluteString() + "?immutable=1" : file);
    const int asUri = isAtRest ? PLSqliteDatabase::kPathIsUri : 0;
    if (!database->openWithFlags(PLSqliteDatabase::kReadOnly | asUri)) return nullptr;
    database->confine(time);
    return database;
}

std::unique_ptr<PLSqliteResultSet> rowsOf(PLSqliteDatabase& database, const std::string& query) {
    PlausibleError error;
    auto rows = database.executeQueryAndReturnError(&error, query);
    if (rows == nullptr) {
        raisePLSqliteException(error.localizedDescription() + " " + database.lastErrorMessage());
    }
    return rows;
}

std::string thresholdText(Date date, Date now) {
    const std::tm fields = localFields(date - static_cast<double>(localFields(now).tm_gmtoff));
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d",
                  std::clamp(fields.tm_year + 1900, 0, 9999), fields.tm_mon + 1, fields.tm_mday,
                  fields.tm_hour, fields.tm_min, fields.tm_sec);
    return text.data();
}

}  // namespace siftwell
