#include "sqlite/PLSqliteResultSet.h"

#include <sqlite3.h>

#include <algorithm>

#include "base/Log.h"
#include "base/Translate.h"
#include "sqlite/PLSqliteDatabase.h"
#include "sqlite/PLSqliteException.h"

namespace siftwell {

namespace {

std::string lowerCased(std::string name) {
    for (char& c : name) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 0x20);
    }
    return name;
}

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

}  // namespace

PLSqliteResultSet::PLSqliteResultSet(std::shared_ptr<PLSqliteDatabase> database,
                                     SqliteStatementHandle sqliteStmt)
    : m_db(std::move(database)),
      m_sqliteStmt(std::move(sqliteStmt)),
      m_columnCount(sqlite3_column_count(m_sqliteStmt.get())) {
    for (int i = 0; i < m_columnCount; ++i) {
        const char* name = sqlite3_column_name(m_sqliteStmt.get(), i);
        m_columnNames[lowerCased(name == nullptr ? "" : name)] = i;
    }
}

bool PLSqliteResultSet::next() {
    assertNotClosed();
    const int result = sqlite3_step(m_sqliteStmt.get());
    if (result == SQLITE_DONE) return false;
    if (result == SQLITE_ROW) return true;
    const std::string reason = filledIn(
        "Error occurred calling next on a PLSqliteResultSet. Error: %@", m_db->lastErrorMessage());
    writeLog(reason);
    raisePLSqliteException(reason);
}

void PLSqliteResultSet::close() {
    m_sqliteStmt.reset();
    m_isClosed = true;
}

int PLSqliteResultSet::columnIndexForName(const std::string& name) const {
    assertNotClosed();
    const auto column = m_columnNames.find(lowerCased(name));
    if (column == m_columnNames.end()) {
        raisePLSqliteException(filledIn("Attempted to access unknown result column %@", name));
    }
    return column->second;
}

bool PLSqliteResultSet::isNullForColumnIndex(int columnIndex) const {
    return validateColumnIndex(columnIndex, true) == SQLITE_NULL;
}

bool PLSqliteResultSet::isNullForColumn(const std::string& columnName) const {
    return isNullForColumnIndex(columnIndexForName(columnName));
}

bool PLSqliteResultSet::boolForColumnIndex(int columnIndex) const {
    requireType(columnIndex, SQLITE_INTEGER, "BOOL");
    return (sqlite3_column_int(m_sqliteStmt.get(), columnIndex) & 0xFF) != 0;
}

bool PLSqliteResultSet::boolForColumn(const std::string& columnName) const {
    return boolForColumnIndex(columnIndexForName(columnName));
}

std::int32_t PLSqliteResultSet::intForColumnIndex(int columnIndex) const {
    requireType(columnIndex, SQLITE_INTEGER, "int32_t");
    return sqlite3_column_int(m_sqliteStmt.get(), columnIndex);
}

std::int32_t PLSqliteResultSet::intForColumn(const std::string& columnName) const {
    return intForColumnIndex(columnIndexForName(columnName));
}

std::int64_t PLSqliteResultSet::bigIntForColumnIndex(int columnIndex) const {
    requireType(columnIndex, SQLITE_INTEGER, "int64_t");
    return sqlite3_column_int64(m_sqliteStmt.get(), columnIndex);
}

std::int64_t PLSqliteResultSet::bigIntForColumn(const std::string& columnName) const {
    return bigIntForColumnIndex(columnIndexForName(columnName));
}

float PLSqliteResultSet::floatForColumnIndex(int columnIndex) const {
    requireType(columnIndex, SQLITE_FLOAT, "float");
    return static_cast<float>(sqlite3_column_double(m_sqliteStmt.get(), columnIndex));
}

float PLSqliteResultSet::floatForColumn(const std::string& columnName) const {
    return floatForColumnIndex(columnIndexForName(columnName));
}

double PLSqliteResultSet::doubleForColumnIndex(int columnIndex) const {
    requireType(columnIndex, SQLITE_FLOAT, "double");
    return sqlite3_column_double(m_sqliteStmt.get(), columnIndex);
}

double PLSqliteResultSet::doubleForColumn(const std::string& columnName) const {
    return doubleForColumnIndex(columnIndexForName(columnName));
}

Date PLSqliteResultSet::dateForColumnIndex(int columnIndex) const {
    requireType(columnIndex, SQLITE_FLOAT, "NSDate *");
    return Date::fromUnix(sqlite3_column_double(m_sqliteStmt.get(), columnIndex));
}

Date PLSqliteResultSet::dateForColumn(const std::string& columnName) const {
    return dateForColumnIndex(columnIndexForName(columnName));
}

// Files may hold any bytes as text. On the way to UTF-16 and back SQLite replaces what is no valid
// UTF-8; plain ASCII, the most common case, needs no such care.
std::string PLSqliteResultSet::stringForColumnIndex(int columnIndex) const {
    requireType(columnIndex, SQLITE_TEXT, "NSString *");
    std::string text = textAt(columnIndex);
    if (isAscii(text)) return text;
    sqlite3_column_text16(m_sqliteStmt.get(), columnIndex);
    return textAt(columnIndex);
}

std::string PLSqliteResultSet::stringForColumn(const std::string& columnName) const {
    return stringForColumnIndex(columnIndexForName(columnName));
}

std::string PLSqliteResultSet::dataForColumnIndex(int columnIndex) const {
    requireType(columnIndex, SQLITE_BLOB, "NSData *");
    const void* bytes = sqlite3_column_blob(m_sqliteStmt.get(), columnIndex);
    if (bytes == nullptr) return {};
    return {static_cast<const char*>(bytes),
            static_cast<std::size_t>(sqlite3_column_bytes(m_sqliteStmt.get(), columnIndex))};
}

std::string PLSqliteResultSet::dataForColumn(const std::string& columnName) const {
    return dataForColumnIndex(columnIndexForName(columnName));
}

void PLSqliteResultSet::assertNotClosed() const {
    if (m_isClosed) raisePLSqliteException("Attempt to access already-closed result set.");
}

int PLSqliteResultSet::validateColumnIndex(int columnIndex, bool isNullable) const {
    assertNotClosed();
    if (columnIndex < 0 || columnIndex >= m_columnCount) {
        raisePLSqliteException(
            filledIn("Attempted to access out-of-range column index %d", columnIndex));
    }
    const int type = sqlite3_column_type(m_sqliteStmt.get(), columnIndex);
    if (type == SQLITE_NULL && !isNullable) {
        raisePLSqliteException(
            filledIn("Attempted to access null column value for column index %d. Use -[PLResultSet "
                     "isNullColumn].",
                     columnIndex));
    }
    return type;
}

void PLSqliteResultSet::requireType(int columnIndex, int type, const char* typeName) const {
    if (validateColumnIndex(columnIndex, false) == type) return;
    raisePLSqliteException(
        filledIn("Attempted to access non-%@ column as %@.", typeName, typeName));
}

std::string PLSqliteResultSet::textAt(int columnIndex) const {
    const void* text = sqlite3_column_text(m_sqliteStmt.get(), columnIndex);
    if (text == nullptr) return {};
    return {static_cast<const char*>(text),
            static_cast<std::size_t>(sqlite3_column_bytes(m_sqliteStmt.get(), columnIndex))};
}

}  // namespace siftwell
