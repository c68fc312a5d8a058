// PLSqliteStatement: a prepared statement that changes data and is run many times.
//
// It spares a loop of inserts from preparing the same text for each row. It keeps its database
// alive and is finalised when it goes.
//
//     const auto insert = database->createStatement("INSERT INTO pages VALUES (?, ?)");
//     for (…) { insert->bindInteger(1, id); insert->bindString(2, title); insert->run(); }
//
// Threads: those of its database, one at a time.
// Errors: a statement that fails answers false and fills the error it was given; a parameter that
// does not exist or cannot be bound, and a statement that answers rows, throw "PLSqliteException".
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/Date.h"
#include "sqlite/PlausibleDatabase.h"

struct sqlite3_stmt;

namespace siftwell {

class PLSqliteDatabase;

struct SqliteFinalizer {
    void operator()(sqlite3_stmt* statement) const;
};
using SqliteStatementHandle = std::unique_ptr<sqlite3_stmt, SqliteFinalizer>;

class PLSqliteStatement {
public:
    PLSqliteStatement(std::shared_ptr<PLSqliteDatabase> database, SqliteStatementHandle statement,
                      std::string text);

    // Parameters count from 1 and keep their values from run to run. SQLite copies what it is
    // given. Strings are UTF-8; they and data are bound in full, zero bytes included.
    void bindNull(int parameter);
    void bindInteger(int parameter, std::int64_t value);
    void bindReal(int parameter, double value);
    void bindDate(int parameter, Date value);  // as seconds since 1970, a real number
    void bindString(int parameter, std::string_view value);
    void bindData(int parameter, std::string_view bytes);

    // Steps once and makes the statement ready to run again; true when SQLite reports done.
    bool run(PlausibleError* andReturnError = nullptr);

    int parameterCount() const;

    // Hands the statement over to whoever steps it otherwise; this object is of no use afterwards.
    SqliteStatementHandle release() { return std::move(m_statement); }

private:
    void requireBound(int result, int parameter) const;

    // The statement goes first: it may not outlive the connection.
    std::shared_ptr<PLSqliteDatabase> m_database;
    SqliteStatementHandle m_statement;
    std::string m_text;
};

}  // namespace siftwell
