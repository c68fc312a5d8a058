// PLSqliteResultSet: the rows that a query answers, walked one by one.
//
// A value is read only as the type that SQLite stored it with; nothing is converted. Columns are
// found by their index, which counts from 0, or by their name, whatever the case of its ASCII
// letters; of two columns with one name the later is found.
//
// Threads: those of its database, one at a time. It keeps the database alive.
// Errors: everything throws "PLSqliteException": a step that fails (a damaged or locked database
// shows here, not when the query is made), a value of another type, null where a value is asked
// for, an unknown column, and whatever is asked of a closed result set.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "base/Date.h"
#include "sqlite/PLSqliteStatement.h"

namespace siftwell {

class PLSqliteResultSet {
public:
    PLSqliteResultSet(std::shared_ptr<PLSqliteDatabase> database, SqliteStatementHandle sqliteStmt);

    bool next();   // true for a row, false behind the last
    void close();  // may be repeated; happens when the result set goes, too

    int columnIndexForName(const std::string& name) const;

    bool isNullForColumnIndex(int columnIndex) const;
    bool isNullForColumn(const std::string& columnName) const;

    // Integers. The bool is that of the lowest 8 bits, the int has the lowest 32.
    bool boolForColumnIndex(int columnIndex) const;
    bool boolForColumn(const std::string& columnName) const;
    std::int32_t intForColumnIndex(int columnIndex) const;
    std::int32_t intForColumn(const std::string& columnName) const;
    std::int64_t bigIntForColumnIndex(int columnIndex) const;
    std::int64_t bigIntForColumn(const std::string& columnName) const;

    // Real numbers; a date is one that counts seconds since 1970.
    float floatForColumnIndex(int columnIndex) const;
    float floatForColumn(const std::string& columnName) const;
    double doubleForColumnIndex(int columnIndex) const;
    double doubleForColumn(const std::string& columnName) const;
    Date dateForColumnIndex(int columnIndex) const;
    Date dateForColumn(const std::string& columnName) const;

    // Text as valid UTF-8, whatever bytes the file holds.
    std::string stringForColumnIndex(int columnIndex) const;
    std::string stringForColumn(const std::string& columnName) const;
    std::string dataForColumnIndex(int columnIndex) const;
    std::string dataForColumn(const std::string& columnName) const;

private:
    void assertNotClosed() const;
    int validateColumnIndex(int columnIndex, bool isNullable) const;  // SQLite's type of the value
    void requireType(int columnIndex, int type, const char* typeName) const;
    std::string textAt(int columnIndex) const;

    // The statement goes first: it may not outlive the connection.
    std::shared_ptr<PLSqliteDatabase> m_db;
    SqliteStatementHandle m_sqliteStmt;
    bool m_isClosed = false;
    std::int32_t m_columnCount;
    std::map<std::string, int> m_columnNames;  // lower-cased
};

}  // namespace siftwell
