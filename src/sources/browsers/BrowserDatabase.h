// BrowserDatabase: the private copy of a browser's SQLite database, whoever wrote it.
//
// The copy is opened for reading and writing, so that what its write-ahead log or a hot journal
// holds is seen, and for reading only where that fails. It is confined as PLSqliteDatabase says:
// the schema is not trusted, values are bounded, and so is the time that all queries take together.
// Sorts of more than some 16 MiB go to a file where SQLite puts such files (SQLITE_TMPDIR).
//
// Threads: one at a time, that which opened it.
// Errors: a Status whose message is for the user and bears the name of the browser's own file:
// Busy when it is locked, Damaged when it is damaged, encrypted or no database at all,
// UnknownVersion when a table or column is missing, TooLarge when a bound is reached.
#pragma once

#include <chrono>
#include <functional>
#include <initializer_list>
#include <memory>
#include <set>
#include <string>

#include "base/Date.h"
#include "base/Status.h"
#include "records/BrowserEntry.h"
#include "sources/browsers/BrowserRows.h"
#include "sqlite/PLSqliteDatabase.h"

namespace siftwell {

class BrowserDatabase {
public:
    // Of the processor's, for all that is read of one database; half a million visits take one
    // second of them.
    static constexpr std::chrono::milliseconds kTime = std::chrono::seconds(60);

    // `name` is the path of the browser's own file, for messages.
    static Result<BrowserDatabase> open(const std::string& copy, const std::string& name,
                                        std::chrono::milliseconds time = kTime);

    // The columns of a table; UnknownVersion when there is none of that name, or one of the columns
    // that are needed is missing. A view or a virtual table is none, and neither is a column that
    // is computed: no browser has them, and what they compute takes as long as it likes.
    using Columns = std::set<std::string, std::less<>>;
    Result<Columns> columnsOf(const std::string& table, std::initializer_list<const char*> needed);

    // Hands over one row after the other, until it answers no.
    using TakeRow = std::function<bool(const PLSqliteResultSet&)>;
    Status forEachRow(const std::string& query, const PropertyList::Array& args,
                      const TakeRow& takeRow);

    // Takes what a query answers with the columns address, title and count of the date, each null
    // when it is of a wrong type. Its only parameter is the count behind which it looks. Rows
    // without an address that is taken are passed over, and so are those without a date.
    Status takeVisits(const std::string& query, const DateCount& dates, Date after,
                      const TakeEntry& take);

private:
    BrowserDatabase(std::shared_ptr<PLSqliteDatabase> database, std::string name)
        : m_database(std::move(database)), m_name(std::move(name)) {}

    static Result<BrowserDatabase> openWithFlags(int flags, const std::string& copy,
                                                 const std::string& name,
                                                 std::chrono::milliseconds time);
    Status lastError() const;

    std::shared_ptr<PLSqliteDatabase> m_database;
    std::string m_name;
};

// The SQL of a value that is null unless it is stored as text.
std::string textIn(const std::string& column);

// The SQL of a query for takeVisits() where visits and pages have tables of their own. It groups
// the visits of a page in the order of an index, if there is one, and sorts nothing else.
struct VisitTables {
    std::string visits;
    std::string page;    // column of visits: the id of its page
    std::string date;    // column of visits
    std::string counts;  // condition for a visit, which is called v
    std::string pages;
    std::string shown;  // condition for a page, which is called p
};
std::string latestVisitOfEachPage(const VisitTables& tables);

}  // namespace siftwell
