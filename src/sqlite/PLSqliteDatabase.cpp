#include "sqlite/PLSqliteDatabase.h"

#include <sqlite3.h>

#include <limits>
#include <utility>

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Translate.h"
#include "sqlite/PLSqliteException.h"

namespace siftwell {

namespace {

constexpr int kBusyMilliseconds = 5000;

static_assert(PLSqliteDatabase::kReadOnly == SQLITE_OPEN_READONLY);
static_assert(PLSqliteDatabase::kReadWrite == SQLITE_OPEN_READWRITE);
static_assert(PLSqliteDatabase::kCreate == SQLITE_OPEN_CREATE);
static_assert(PLSqliteDatabase::kPathIsUri == SQLITE_OPEN_URI);

bool isWhiteSpace(std::string_view text) {
    return text.find_first_not_of(" \t\r\n\f\v") == std::string_view::npos;
}

// Views and triggers of a foreign file may call only functions without side effects.
void distrustSchema(sqlite3* connection) {
    sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
}

// Few, since one of them may work on a value of megabytes.
constexpr int kStepsBetweenLooksAtTheClock = 1000;

std::int64_t withinInt32OrAbove(std::int64_t value) {
    if (value > std::numeric_limits<std::int32_t>::max()) return value;
    return static_cast<std::int32_t>(value);
}

std::string kindOfContainer(const PropertyList& value) {
    return value.asArray() != nullptr ? "array" : "dictionary";
}

std::string sizeOfContainer(const PropertyList& value) {
    const std::size_t size =
        value.asArray() != nullptr ? value.asArray()->size() : value.asDictionary()->size();
    return std::to_string(size) + " values";
}

}  // namespace

std::shared_ptr<PLSqliteDatabase> PLSqliteDatabase::databaseWithPath(std::string path) {
    return std::shared_ptr<PLSqliteDatabase>(new PLSqliteDatabase(std::move(path)));
}

// Result sets and statements keep their database alive, so none of them can be left here; if one
// were, that would be logged rather than thrown, since a destructor may run during unwinding.
PLSqliteDatabase::~PLSqliteDatabase() {
    const int result = sqlite3_close(m_sqlite);
    if (result == SQLITE_BUSY) {
        writeLog(
            filledIn("The SQLite database at '%@' can not be closed, as the implementation has "
                     "leaked prepared statements",
                     m_path));
    } else if (result != SQLITE_OK) {
        writeLog(filledIn("Unexpected error closing SQLite database at '%@': %@", m_path,
                          lastErrorMessage()));
    }
}

bool PLSqliteDatabase::openWithFlags(int flags, PlausibleError* andReturnError) {
    if (m_sqlite != nullptr) {
        raisePLSqliteException(
            filledIn("Attempted to open already-open SQLite database instance at '%@'. Called "
                     "-[PLSqliteDatabase open] twice?",
                     m_path));
    }
    if (sqlite3_open_v2(m_path.c_str(), &m_sqlite, flags, nullptr) != SQLITE_OK) {
        populateError(andReturnError, PlausibleDatabase::kNotOpened,
                      _("The SQLite database file could not be found."), std::nullopt);
        return false;
    }
    if (sqlite3_busy_timeout(m_sqlite, kBusyMilliseconds) != SQLITE_OK) {
        populateError(
            andReturnError, PlausibleDatabase::kNotOpened,
            _("The SQLite database busy timeout could not be set due to an internal error."),
            std::nullopt);
        return false;
    }
    distrustSchema(m_sqlite);
    return true;
}

int PLSqliteDatabase::isOver(void* confinement) {
    const auto& limits = *static_cast<const Confinement*>(confinement);
    const bool mustEnd =
        limits.stop.stop_requested() || processorTimeOfThread() > limits.lastProcessorTime;
    return mustEnd ? 1 : 0;
}

void PLSqliteDatabase::confine(std::chrono::milliseconds processorTime, std::stop_token stop) {
    for (const int ability : {SQLITE_DBCONFIG_ENABLE_VIEW, SQLITE_DBCONFIG_ENABLE_TRIGGER}) {
        sqlite3_db_config(m_sqlite, ability, 0, nullptr);
    }
    sqlite3_db_config(m_sqlite, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    using Limit = std::pair<int, int>;
    for (const auto& [limit, value] :
         {Limit{SQLITE_LIMIT_LENGTH, kMaxConfinedBytes}, Limit{SQLITE_LIMIT_SQL_LENGTH, 1 << 20},
          Limit{SQLITE_LIMIT_EXPR_DEPTH, 100}, Limit{SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 100},
          Limit{SQLITE_LIMIT_ATTACHED, 0}}) {
        sqlite3_limit(m_sqlite, limit, value);
    }
    m_confinement = {.lastProcessorTime = processorTimeOfThread() + processorTime,
                     .stop = std::move(stop)};
    sqlite3_progress_handler(m_sqlite, kStepsBetweenLooksAtTheClock, &isOver, &m_confinement);
}

std::unique_ptr<PLSqliteResultSet> PLSqliteDatabase::executeQuery(const std::string& statement,
                                                                  const PropertyList::Array& args) {
    return executeQueryAndReturnError(nullptr, statement, args);
}

std::unique_ptr<PLSqliteResultSet> PLSqliteDatabase::executeQueryAndReturnError(
    PlausibleError* error, const std::string& statement, const PropertyList::Array& args) {
    const auto prepared = createStatement(statement, error);
    if (prepared == nullptr) return nullptr;
    bindValuesForStatement(*prepared, args);
    return std::make_unique<PLSqliteResultSet>(shared_from_this(), prepared->release());
}

bool PLSqliteDatabase::executeUpdate(const std::string& statement,
                                     const PropertyList::Array& args) {
    return executeUpdateAndReturnError(nullptr, statement, args);
}

bool PLSqliteDatabase::executeUpdateAndReturnError(PlausibleError* error,
                                                   const std::string& statement,
                                                   const PropertyList::Array& args) {
    const auto prepared = createStatement(statement, error);
    if (prepared == nullptr) return false;
    bindValuesForStatement(*prepared, args);
    return prepared->run(error);
}

std::unique_ptr<PLSqliteStatement> PLSqliteDatabase::createStatement(const std::string& statement,
                                                                     PlausibleError* error) {
    sqlite3_stmt* prepared = nullptr;
    const char* end = statement.data() + statement.size();
    const char* unused = end;
    if (statement.size() > std::numeric_limits<int>::max() ||
        sqlite3_prepare_v2(m_sqlite, statement.data(), static_cast<int>(statement.size()),
                           &prepared, &unused) != SQLITE_OK) {
        populateError(error, PlausibleDatabase::kNotPrepared,
                      _("An error occured parsing the provided SQL statement."), statement);
        return nullptr;
    }
    // Owned from here on: a statement that is refused below must not stay prepared either, or the
    // connection could never be closed.
    SqliteStatementHandle owned(prepared);
    if (!isWhiteSpace({unused, end})) {
        populateError(error, PlausibleDatabase::kNotPrepared,
                      _("Multiple SQL statements were provided for a single query."), statement);
        return nullptr;
    }
    return std::make_unique<PLSqliteStatement>(shared_from_this(), std::move(owned), statement);
}

void PLSqliteDatabase::bindValuesForStatement(PLSqliteStatement& statement,
                                              const PropertyList::Array& withArgs) const {
    const int count = statement.parameterCount();
    if (static_cast<std::size_t>(count) > withArgs.size()) {
        raisePLSqliteException(
            filledIn("SQLite query on database '%@' has %d parameters, but %d "
                     "arguments were provided",
                     m_path, count, static_cast<std::int64_t>(withArgs.size())));
    }
    for (int i = 0; i < count; ++i) {
        bindValueForParameter(statement, i + 1, withArgs[static_cast<std::size_t>(i)]);
    }
}

void PLSqliteDatabase::bindValueForParameter(PLSqliteStatement& statement, int withParameter,
                                             const PropertyList& withValue) const {
    if (withValue.isNull()) {
        statement.bindNull(withParameter);
    } else if (const auto* data = withValue.asData()) {
        statement.bindData(withParameter, data->bytes);
    } else if (const auto* date = withValue.asDate()) {
        statement.bindDate(withParameter, *date);
    } else if (const auto* text = withValue.asString()) {
        statement.bindString(withParameter, text->c_str());
    } else if (const auto* real = withValue.asReal()) {
        statement.bindReal(withParameter, *real);
    } else if (const auto integer = withValue.asIntegerLenient()) {
        statement.bindInteger(withParameter, withinInt32OrAbove(*integer));
    } else {
        raisePLSqliteException(filledIn(
            "SQLite error binding unknown parameter type '%@' for database '%@'. Value: '%@'",
            kindOfContainer(withValue), m_path, sizeOfContainer(withValue)));
    }
}

bool PLSqliteDatabase::beginTransaction(PlausibleError* andReturnError) {
    return executeUpdateAndReturnError(andReturnError, "BEGIN DEFERRED");
}

bool PLSqliteDatabase::commitTransaction(PlausibleError* andReturnError) {
    return executeUpdateAndReturnError(andReturnError, "COMMIT");
}

bool PLSqliteDatabase::rollbackTransaction(PlausibleError* andReturnError) {
    return executeUpdateAndReturnError(andReturnError, "ROLLBACK");
}

bool PLSqliteDatabase::tableExists(const std::string& tableName) {
    const auto rows = executeQuery("SELECT name FROM SQLITE_MASTER WHERE name = ? and type = ?",
                                   {tableName, "table"});
    return rows != nullptr && rows->next();
}

std::int64_t PLSqliteDatabase::lastInsertRowId() const {
    return m_sqlite == nullptr ? 0 : sqlite3_last_insert_rowid(m_sqlite);
}

int PLSqliteDatabase::lastErrorCode() const { return sqlite3_errcode(m_sqlite); }

std::string PLSqliteDatabase::lastErrorMessage() const { return sqlite3_errmsg(m_sqlite); }

void PLSqliteDatabase::populateError(PlausibleError* error, int withErrorCode,
                                     const std::string& description,
                                     const std::optional<std::string>& queryString) const {
    if (error == nullptr) return;
    *error = PlausibleDatabase::errorWithCode(withErrorCode, description, queryString,
                                              lastErrorCode(), lastErrorMessage());
}

}  // namespace siftwell
