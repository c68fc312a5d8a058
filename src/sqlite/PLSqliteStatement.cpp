#include "sqlite/PLSqliteStatement.h"

#include <sqlite3.h>

#include "base/Translate.h"
#include "sqlite/PLSqliteDatabase.h"
#include "sqlite/PLSqliteException.h"

namespace siftwell {

namespace {

// SQLite takes a null pointer for the value null, which an empty view may hold.
const char* bytesOf(std::string_view value) { return value.data() == nullptr ? "" : value.data(); }

}  // namespace

void SqliteFinalizer::operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }

PLSqliteStatement::PLSqliteStatement(std::shared_ptr<PLSqliteDatabase> database,
                                     SqliteStatementHandle statement, std::string text)
    : m_database(std::move(database)), m_statement(std::move(statement)), m_text(std::move(text)) {}

void PLSqliteStatement::bindNull(int parameter) {
    requireBound(sqlite3_bind_null(m_statement.get(), parameter), parameter);
}

void PLSqliteStatement::bindInteger(int parameter, std::int64_t value) {
    requireBound(sqlite3_bind_int64(m_statement.get(), parameter, value), parameter);
}

void PLSqliteStatement::bindReal(int parameter, double value) {
    requireBound(sqlite3_bind_double(m_statement.get(), parameter, value), parameter);
}

void PLSqliteStatement::bindDate(int parameter, Date value) {
    bindReal(parameter, value.secondsSinceUnix());
}

void PLSqliteStatement::bindString(int parameter, std::string_view value) {
    requireBound(sqlite3_bind_text64(m_statement.get(), parameter, bytesOf(value), value.size(),
                                     SQLITE_TRANSIENT, SQLITE_UTF8),
                 parameter);
}

void PLSqliteStatement::bindData(int parameter, std::string_view bytes) {
    requireBound(sqlite3_bind_blob64(m_statement.get(), parameter, bytesOf(bytes), bytes.size(),
                                     SQLITE_TRANSIENT),
                 parameter);
}

bool PLSqliteStatement::run(PlausibleError* andReturnError) {
    const int result = sqlite3_step(m_statement.get());
    if (result != SQLITE_DONE && result != SQLITE_ROW) {
        m_database->populateError(andReturnError, PlausibleDatabase::kQueryFailed,
                                  _("An error occurred executing an SQL update."), m_text);
    }
    sqlite3_reset(m_statement.get());
    if (result == SQLITE_ROW) {
        raisePLSqliteException(filledIn(
            "SQLite -[PLSqliteDatabase executeUpdate:] query '%@' on database '%@' returned "
            "result set. Perhaps the developer provided SELECT query to "
            "-[db executeUpdate:]?)",
            m_text, m_database->path()));
    }
    return result == SQLITE_DONE;
}

int PLSqliteStatement::parameterCount() const {
    return sqlite3_bind_parameter_count(m_statement.get());
}

void PLSqliteStatement::requireBound(int result, int parameter) const {
    if (result == SQLITE_OK) return;
    raisePLSqliteException(filledIn("SQlite error binding parameter %d for database '%@': %d",
                                    parameter, m_database->path(), result));
}

}  // namespace siftwell
