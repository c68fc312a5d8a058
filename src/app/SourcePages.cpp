#include "app/SourcePages.h"

#include <chrono>
#include <map>
#include <string>

#include "base/Exception.h"
#include "base/Paths.h"
#include "base/Url.h"
#include "sqlite/PLSqliteDatabase.h"

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kProcessorTime(1000);

const char* statementFor(const std::string& indexer) {
    static const std::map<std::string, const char*> statements{
        {"FirefoxHistory", "SELECT count(*) FROM moz_places WHERE last_visit_date IS NOT NULL"},
        {"FirefoxBookmarks", "SELECT count(*) FROM moz_bookmarks WHERE type = 1"},
        {"ChromeHistory", "SELECT count(*) FROM urls"},
        {"EpiphanyHistory", "SELECT count(*) FROM urls"},
        {"FalkonHistory", "SELECT count(*) FROM history"},
        {"QutebrowserHistory", "SELECT count(DISTINCT url) FROM History"}};
    const auto statement = statements.find(indexer);
    return statement == statements.end() ? nullptr : statement->second;
}

}  // namespace

std::optional<std::int64_t> pagesOfSource(const SearchItem& item, const std::stop_token& stop) {
    const char* const statement = statementFor(item.Indexer);
    if (statement == nullptr || item.Path.find('*') != std::string::npos) return std::nullopt;
    const auto database = PLSqliteDatabase::databaseWithPath(
        Url::fromFilePath(expandingTilde(item.Path)).absoluteString() + "?immutable=1");
    if (!database->openWithFlags(PLSqliteDatabase::kReadOnly | PLSqliteDatabase::kPathIsUri)) {
        return std::nullopt;
    }
    database->confine(kProcessorTime, stop);
    try {
        const auto rows = database->executeQuery(statement);
        if (rows == nullptr || !rows->next()) return std::nullopt;
        return rows->bigIntForColumnIndex(0);
    } catch (const NamedException&) {
        return std::nullopt;
    }
}

}  // namespace siftwell
