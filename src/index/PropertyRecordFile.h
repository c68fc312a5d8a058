// PropertyRecordFile: the SQLite database in which the records of one index are kept.
//
//   records (id, date, source, indexer, title, url, cachePath)   dates in seconds since 2001; the
//                                                                path may be any bytes
//   removed (id)      records that are to go once the index has forgotten their documents for good
//   engine  (identity, next)   the index that the records belong to, and its next document number
//
// Threads: one at a time. Errors: as Status, naming the file.
#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/Status.h"
#include "fulltext/Header.h"
#include "fulltext/Types.h"
#include "records/PropertyRecord.h"
#include "sqlite/PLSqliteDatabase.h"

namespace siftwell {

using RecordEntry = std::pair<fulltext::DocumentID, PropertyRecord>;

// What one write changes, all of it or nothing.
struct RecordChanges {
    std::vector<std::pair<fulltext::DocumentID, const PropertyRecord*>> stored;
    std::vector<fulltext::DocumentID> removed;    // to be remembered as such
    std::vector<fulltext::DocumentID> restored;   // not removed after all
    std::vector<fulltext::DocumentID> forgotten;  // to be deleted
    fulltext::FileIdentity identity{};
    fulltext::DocumentID nextDocument = 0;
};

class PropertyRecordFile {
public:
    // For writing; an empty file gets its tables. Damaged when the file is no database of ours,
    // UnknownVersion, without having touched it, when a newer program wrote it.
    static Result<std::unique_ptr<PropertyRecordFile>> open(const std::string& path);
    // Sees the file as it is now, whatever is written meanwhile, and changes nothing in its folder;
    // only where a log was left without its index ("-shm") does SQLite make that. Null when nothing
    // was written to it yet.
    static Result<std::unique_ptr<PropertyRecordFile>> openForReading(const std::string& path);
    static Result<std::unique_ptr<PropertyRecordFile>> create(const std::string& path);

    // The files that belong together: the database and what SQLite keeps beside it.
    static std::vector<std::string> pathsOf(const std::string& path);
    // Whether a program that wrote the file ended without closing it.
    static bool wasLeftOpen(const std::string& path);

    Result<std::optional<PropertyRecord>> record(fulltext::DocumentID document) const;
    // Up to `max` records of documents behind `document`, in rising order.
    Result<std::vector<RecordEntry>> recordsBehind(fulltext::DocumentID document,
                                                   std::size_t max) const;
    Result<std::int64_t> count() const;  // without removed ones; reads the whole file
    Result<std::set<fulltext::DocumentID>> removed() const;
    // The index that the records were written for; none before the first write.
    Result<std::optional<fulltext::FileIdentity>> identity() const;

    // The number that the next document of that index was to get; 1 before the first write.
    Result<fulltext::DocumentID> nextDocument() const;

    // Reads the whole file and compares it with itself.
    Status check() const;

    Status write(const RecordChanges& changes);
    // Deletes all records, or those of documents from `from` on.
    Status deleteFrom(fulltext::DocumentID from);

    // Writes the file anew, through the log: pages that SQLite has filled and emptied may hold
    // bytes of what was deleted.
    Status rewrite();
    // Folds the write-ahead log into the file and cuts it; Busy while another process reads.
    Status emptyLog();

    // Folds the write-ahead log into the file, so that it can be read without being changed.
    void close();

private:
    PropertyRecordFile(std::string path, std::shared_ptr<PLSqliteDatabase> database)
        : m_path(std::move(path)), m_database(std::move(database)) {}

    // `address` is the path, or names the file with options as SQLite takes them.
    static Result<std::unique_ptr<PropertyRecordFile>> openAt(const std::string& path,
                                                              const std::string& address,
                                                              int flags);
    Status prepareForWriting();
    Status createTables();
    Status checkVersion() const;
    bool isEmpty() const;
    Status writeInTransaction(const RecordChanges& changes);
    Status store(const RecordChanges& changes);
    Status runForEach(const std::string& statement,
                      const std::vector<fulltext::DocumentID>& documents);
    Status run(const std::string& statement, const PropertyList::Array& arguments = {});
    std::unique_ptr<PLSqliteResultSet> query(const std::string& statement,
                                             const PropertyList::Array& arguments = {}) const;
    // What is wrong, in the words of SQLite; Damaged when it says so.
    Status failure() const;
    Status damaged(const std::string& details) const;
    template <typename Read>
    auto guarded(Read read) const -> Result<decltype(read())>;

    const std::string m_path;
    std::shared_ptr<PLSqliteDatabase> m_database;
};

}  // namespace siftwell
