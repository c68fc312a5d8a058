// PLSqliteDatabase: one connection to an SQLite database file.
//
// Made closed, opened once. Indexers open a private copy of a browser's database for reading only,
// run one SELECT and walk its rows; the index store keeps its records in databases of its own.
//
// Threads: one at a time for a database and all that came out of it. Other processes that hold the
// file locked are waited for, at most 5 seconds for each step.
// Errors: two channels. What may fail without anybody being at fault (opening, preparing, an
// update) answers false or null and fills the error, where the caller gave a place for one.
// Misuse, and a step of a query that fails, throw a NamedException "PLSqliteException".
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "base/PropertyList.h"
#include "sqlite/PLSqliteResultSet.h"
#include "sqlite/PLSqliteStatement.h"
#include "sqlite/PlausibleDatabase.h"

struct sqlite3;

namespace siftwell {

class PLSqliteDatabase : public std::enable_shared_from_this<PLSqliteDatabase> {
public:
    // SQLite's flags for opening.
    static constexpr int kReadOnly = 0x1;
    static constexpr int kReadWrite = 0x2;
    static constexpr int kCreate = 0x4;
    // The path is a file address with options behind it: that of Url::fromFilePath and, for a file
    // that nobody writes and whose folder may be read-only, "?immutable=1".
    static constexpr int kPathIsUri = 0x40;

    static std::shared_ptr<PLSqliteDatabase> databaseWithPath(std::string path);
    ~PLSqliteDatabase();
    PLSqliteDatabase(const PLSqliteDatabase&) = delete;
    PLSqliteDatabase& operator=(const PLSqliteDatabase&) = delete;

    const std::string& path() const { return m_path; }

    // For reading and writing; a missing file is made. Opening twice throws, after a failure too.
    bool open() { return openWithFlags(kReadWrite | kCreate); }
    bool openWithFlags(int flags, PlausibleError* andReturnError = nullptr);

    // What a value or a row of a confined database holds at most.
    static constexpr int kMaxConfinedBytes = 16 << 20;

    // For a file that somebody else may have made to do harm; asked once, right after opening.
    // Views and triggers do not run, nothing longer than kMaxConfinedBytes is read, and once this
    // thread has used so much more of the processor, or is told to stop, whatever runs fails as
    // interrupted.
    void confine(std::chrono::milliseconds processorTime, std::stop_token stop = {});
    // For what the thread did meanwhile that is not the database's.
    void extendProcessorTime(std::chrono::nanoseconds by) { m_confinement.lastProcessorTime += by; }

    // Whether a connection is held. One that could not be opened may be held as well.
    bool goodConnection() const { return m_sqlite != nullptr; }

    // Prepares a query and binds its arguments, one for each "?", by their kind: null, data, text
    // (to its first zero byte), a date (seconds since 1970, a real number), a real number, or an
    // integer. An integer below the range of 32 bits is truncated to them; PLSqliteStatement does
    // not do that. Other kinds and missing arguments throw; arguments over are left aside. The
    // first row is reached by next().
    std::unique_ptr<PLSqliteResultSet> executeQuery(const std::string& statement,
                                                    const PropertyList::Array& args = {});
    std::unique_ptr<PLSqliteResultSet> executeQueryAndReturnError(
        PlausibleError* error, const std::string& statement, const PropertyList::Array& args = {});

    // Runs a statement that answers no rows, with arguments as above; true when it is done.
    bool executeUpdate(const std::string& statement, const PropertyList::Array& args = {});
    bool executeUpdateAndReturnError(PlausibleError* error, const std::string& statement,
                                     const PropertyList::Array& args = {});

    // A statement to be run many times; null when it cannot be prepared. One statement only: text
    // with anything but white space behind its end is refused.
    std::unique_ptr<PLSqliteStatement> createStatement(const std::string& statement,
                                                       PlausibleError* error = nullptr);

    bool beginTransaction(PlausibleError* andReturnError = nullptr);  // BEGIN DEFERRED
    bool commitTransaction(PlausibleError* andReturnError = nullptr);
    bool rollbackTransaction(PlausibleError* andReturnError = nullptr);

    bool tableExists(const std::string& tableName);  // false for a view

    std::int64_t lastInsertRowId() const;  // 0 while closed
    int lastErrorCode() const;             // SQLite's
    std::string lastErrorMessage() const;

    // Fills the error, unless there is no place for it, with what SQLite said last.
    void populateError(PlausibleError* error, int withErrorCode, const std::string& description,
                       const std::optional<std::string>& queryString) const;

private:
    struct Confinement {
        std::chrono::nanoseconds lastProcessorTime{};  // of the thread
        std::stop_token stop;
    };
    static int isOver(void* confinement);

    explicit PLSqliteDatabase(std::string path) : m_path(std::move(path)) {}

    void bindValuesForStatement(PLSqliteStatement& statement,
                                const PropertyList::Array& withArgs) const;
    void bindValueForParameter(PLSqliteStatement& statement, int withParameter,
                               const PropertyList& withValue) const;

    const std::string m_path;
    sqlite3* m_sqlite = nullptr;
    Confinement m_confinement;
};

}  // namespace siftwell
