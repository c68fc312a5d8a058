#include "sources/browsers/BrowserDatabase.h"

#include <sqlite3.h>

#include <fstream>

#include "base/Exception.h"
#include "base/Files.h"
#include "base/Translate.h"
#include "sqlite/PLSqliteException.h"

namespace siftwell {

namespace {

// A journal that ends with this names another file, which belongs to several databases and which
// SQLite may delete once all of them are whole. The copy of one of them must not lead to that.
bool namesAnotherFile(const std::string& journal) {
    constexpr std::string_view kEnd = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
    std::ifstream file(journal, std::ios::binary);
    std::string end(kEnd.size(), '\0');
    return file.seekg(-static_cast<int>(kEnd.size()), std::ios::end) &&
           file.read(end.data(), static_cast<std::streamsize>(end.size())) && end == kEnd;
}

StatusCode codeOf(int sqliteError) {
    switch (sqliteError & 0xFF) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return StatusCode::Busy;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return StatusCode::Damaged;
        case SQLITE_ERROR:
        case SQLITE_SCHEMA:
            return StatusCode::UnknownVersion;
        case SQLITE_INTERRUPT:
        case SQLITE_TOOBIG:
        case SQLITE_NOMEM:
            return StatusCode::TooLarge;
        case SQLITE_PERM:
        case SQLITE_AUTH:
            return StatusCode::Denied;
        case SQLITE_READONLY:
            return StatusCode::ReadOnlyStorage;
        case SQLITE_FULL:
            return StatusCode::NoSpace;
        default:
            return StatusCode::Failed;
    }
}

std::string damageOf(int sqliteError) {
    return sqliteError == SQLITE_NOTADB ? _("The file %@ is encrypted, damaged or no database.")
                                        : _("The database %@ is damaged.");
}

std::string patternFor(StatusCode code, int sqliteError) {
    switch (code) {
        case StatusCode::Busy:
            return _("The database %@ is locked by another program.");
        case StatusCode::Damaged:
            return damageOf(sqliteError);
        case StatusCode::UnknownVersion:
            return _("The database %@ has an unknown form: %@.");
        case StatusCode::TooLarge:
            return _("The database %@ is too large: %@.");
        default:
            return _("The database %@ cannot be read: %@.");
    }
}

Status unknownForm(const std::string& name, const std::string& detail) {
    return {StatusCode::UnknownVersion,
            filledIn(_("The database %@ has an unknown form: %@."), name, detail)};
}

// Whether a copy that could not be opened for writing is worth another try.
bool mayBeReadOnly(StatusCode code) {
    return code == StatusCode::ReadOnlyStorage || code == StatusCode::Denied ||
           code == StatusCode::Failed;
}

std::optional<BrowserEntry> entryIn(const PLSqliteResultSet& row, const DateCount& dates) {
    if (row.isNullForColumnIndex(0) || row.isNullForColumnIndex(2)) return std::nullopt;
    BrowserEntry entry;
    entry.date = dates.date(row.bigIntForColumnIndex(2));
    if (!entry.date) return std::nullopt;
    entry.url = row.stringForColumnIndex(0);
    if (!isTakenAddress(entry.url)) return std::nullopt;
    if (!row.isNullForColumnIndex(1)) entry.title = takenTitle(row.stringForColumnIndex(1));
    return entry;
}

}  // namespace

Result<BrowserDatabase> BrowserDatabase::open(const std::string& copy, const std::string& name,
                                              std::chrono::milliseconds time) {
    if (!fileInfo(copy)) {
        return Status(StatusCode::NotFound, filledIn(_("There is no database %@."), name));
    }
    if (namesAnotherFile(copy + "-journal")) {
        return Status(StatusCode::Damaged, filledIn(_("The database %@ is damaged."), name));
    }
    auto database = openWithFlags(PLSqliteDatabase::kReadWrite, copy, name, time);
    if (database || !mayBeReadOnly(database.status().code())) return database;
    return openWithFlags(PLSqliteDatabase::kReadOnly, copy, name, time);
}

Result<BrowserDatabase> BrowserDatabase::openWithFlags(int flags, const std::string& copy,
                                                       const std::string& name,
                                                       std::chrono::milliseconds time) {
    BrowserDatabase database(PLSqliteDatabase::databaseWithPath(copy), name);
    if (!database.m_database->openWithFlags(flags)) return database.lastError();
    database.m_database->confine(time);
    // Only the first look at the schema tells whether this is a database.
    for (const char* statement : {"PRAGMA cell_size_check = 1", "PRAGMA cache_size = -16384",
                                  "SELECT 1 FROM sqlite_master LIMIT 1"}) {
        const Status status =
            database.forEachRow(statement, {}, [](const PLSqliteResultSet&) { return true; });
        if (!status.isOk()) return status;
    }
    return database;
}

Result<BrowserDatabase::Columns> BrowserDatabase::columnsOf(
    const std::string& table, std::initializer_list<const char*> needed) {
    Columns columns;
    // This pragma leaves out what is computed. A virtual table has no root page.
    const Status status = forEachRow(
        "SELECT c.name FROM sqlite_master m JOIN pragma_table_info(m.name) c "
        "WHERE m.type = 'table' AND m.rootpage > 0 AND m.name = ? AND typeof(c.name) = 'text'",
        {table}, [&columns](const PLSqliteResultSet& row) {
            columns.insert(row.stringForColumnIndex(0));
            return true;
        });
    if (!status.isOk()) return status;
    if (columns.empty()) return unknownForm(m_name, "no such table: " + table);
    for (const char* column : needed) {
        if (!columns.contains(column))
            return unknownForm(m_name, "no such column: " + table + "." + column);
    }
    return columns;
}

Status BrowserDatabase::forEachRow(const std::string& query, const PropertyList::Array& args,
                                   const TakeRow& takeRow) {
    try {
        const auto rows = m_database->executeQuery(query, args);
        if (rows == nullptr) return lastError();
        while (rows->next()) {
            if (!takeRow(*rows)) break;
        }
    } catch (const NamedException& exception) {
        if (exception.name() != kPLSqliteException) throw;
        return lastError();
    }
    return {};
}

Status BrowserDatabase::takeVisits(const std::string& query, const DateCount& dates, Date after,
                                   const TakeEntry& take) {
    return forEachRow(query, {dates.units(after)}, [&](const PLSqliteResultSet& row) {
        auto entry = entryIn(row, dates);
        return !entry || take(*std::move(entry));
    });
}

Status BrowserDatabase::lastError() const {
    const int error = m_database->lastErrorCode();
    const StatusCode code = codeOf(error);
    return {code, filledIn(patternFor(code, error), m_name, m_database->lastErrorMessage())};
}

std::string textIn(const std::string& column) {
    return "CASE typeof(" + column + ") WHEN 'text' THEN " + column + " END";
}

std::string latestVisitOfEachPage(const VisitTables& tables) {
    return "SELECT " + textIn("p.url") + ", " + textIn("p.title") + ", t.latest FROM (SELECT v." +
           tables.page + " AS page, max(v." + tables.date + ") AS latest FROM " + tables.visits +
           " v WHERE typeof(v." + tables.date + ") = 'integer' AND v." + tables.date + " > ? AND " +
           tables.counts + " GROUP BY v." + tables.page + ") t CROSS JOIN " + tables.pages +
           " p ON p.id = t.page WHERE " + tables.shown;
}

}  // namespace siftwell
