#include "index/PropertyRecordFile.h"

#include <fcntl.h>

#include <algorithm>

#include "base/Exception.h"
#include "base/FileDescriptor.h"
#include "base/Files.h"
#include "base/Translate.h"
#include "base/Url.h"
#include "sqlite/PLSqliteStatement.h"

namespace siftwell {

namespace {

using fulltext::DocumentID;

constexpr std::int64_t kVersion = 1;
constexpr int kSqliteBusy = 5;
constexpr int kSqliteLocked = 6;
constexpr int kSqliteReadOnly = 8;
constexpr int kSqliteCorrupt = 11;
constexpr int kSqliteFull = 13;
constexpr int kSqliteNotADatabase = 26;
constexpr int kSqliteRow = 100;
constexpr int kSqliteDone = 101;
constexpr const char* kColumns = "id, date, source, indexer, title, url, cachePath";

std::string textIn(const PLSqliteResultSet& row, int column) {
    return row.isNullForColumnIndex(column) ? std::string() : row.stringForColumnIndex(column);
}

// Whether the log has its header and no page yet. With an index that nobody keeps, SQLite would
// look for its pages for ten seconds.
bool isLogOnlyBegun(const std::string& path) {
    constexpr std::uint64_t kLogHeaderSize = 32;
    const auto log = fileInfo(path + "-wal");
    return log && log->bytes == kLogHeaderSize;
}

// For what SQLite is content with and this program never writes.
[[noreturn]] void refuse(const char* what) { throw NamedException("PLSqliteException", what); }

DocumentID documentIn(const PLSqliteResultSet& row) {
    const std::int64_t number = row.bigIntForColumnIndex(0);
    if (number < 1 || number > fulltext::kLastDocumentID) refuse("no document has such a number");
    return static_cast<DocumentID>(number);
}

RecordEntry entryIn(const PLSqliteResultSet& row) {
    PropertyRecord record{.date = Date::fromReference(row.doubleForColumnIndex(1)),
                          .source = textIn(row, 2),
                          .indexer = textIn(row, 3),
                          .title = textIn(row, 4),
                          .url = textIn(row, 5),
                          .cachePath = std::nullopt};
    if (!row.isNullForColumnIndex(6)) record.cachePath = row.dataForColumnIndex(6);
    return {documentIn(row), std::move(record)};
}

void bindEntry(PLSqliteStatement& statement, DocumentID document, const PropertyRecord& record) {
    statement.bindInteger(1, document);
    statement.bindReal(2, record.date.secondsSinceReference());
    statement.bindString(3, record.source);
    statement.bindString(4, record.indexer);
    statement.bindString(5, record.title);
    statement.bindString(6, record.url);
    if (record.cachePath) {
        statement.bindData(7, *record.cachePath);
    } else {
        statement.bindNull(7);
    }
}

// The two answers of a step that went well.
bool isAboutRows(int code) { return code == kSqliteRow || code == kSqliteDone; }

PropertyList::Data dataOf(const fulltext::FileIdentity& identity) {
    return {std::string(identity.begin(), identity.end())};
}

}  // namespace

std::vector<std::string> PropertyRecordFile::pathsOf(const std::string& path) {
    return {path, path + "-wal", path + "-shm", path + "-journal"};
}

bool PropertyRecordFile::wasLeftOpen(const std::string& path) {
    return fileInfo(path + "-wal").has_value() || fileInfo(path + "-journal").has_value();
}

// Looks before it opens the file for writing: at closing, SQLite would change a file that is not
// ours to change.
Result<std::unique_ptr<PropertyRecordFile>> PropertyRecordFile::open(const std::string& path) {
    auto looked = openForReading(path);
    if (!looked) return looked.status();
    const bool isEmpty = *looked == nullptr;
    looked->reset();  // while it looks, the file is locked
    auto file = openAt(path, path, PLSqliteDatabase::kReadWrite);
    if (!file) return file.status();
    Status status = (*file)->prepareForWriting();
    if (status.isOk() && isEmpty) status = (*file)->createTables();
    if (!status.isOk()) return status;
    return file;
}

// The ways differ in what SQLite keeps beside the file: it uses what a writer keeps there; it makes
// that itself, where a killed writer left only half of it; it does without, which is right in a
// folder that nobody can write to.
Result<std::unique_ptr<PropertyRecordFile>> PropertyRecordFile::openForReading(
    const std::string& path) {
    const std::string address = Url::fromFilePath(path).absoluteString();
    const bool isFirstWayOpen = !isLogOnlyBegun(path);
    Status status;
    for (const char* way : {isFirstWayOpen ? "?readonly_shm=1" : "", "", "?immutable=1"}) {
        auto file =
            openAt(path, address + way, PLSqliteDatabase::kReadOnly | PLSqliteDatabase::kPathIsUri);
        status = file ? (*file)->run("BEGIN") : file.status();
        if (status.isOk()) status = (*file)->checkVersion();
        if (status.isOk()) return file;
        if (file && (*file)->isEmpty()) return std::unique_ptr<PropertyRecordFile>();
        const bool mayGoAnotherWay =
            status.code() == StatusCode::Failed || status.code() == StatusCode::Denied;
        if (!mayGoAnotherWay) break;
    }
    return status;
}

Result<std::unique_ptr<PropertyRecordFile>> PropertyRecordFile::create(const std::string& path) {
    // SQLite would make the file readable to others; what it keeps beside takes after it.
    const FileDescriptor made(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    return open(path);
}

Result<std::unique_ptr<PropertyRecordFile>> PropertyRecordFile::openAt(const std::string& path,
                                                                       const std::string& address,
                                                                       int flags) {
    const auto database = PLSqliteDatabase::databaseWithPath(address);
    std::unique_ptr<PropertyRecordFile> file(new PropertyRecordFile(path, database));
    if (!database->openWithFlags(flags)) return file->failure();
    return file;
}

Status PropertyRecordFile::prepareForWriting() {
    for (const char* pragma : {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL",
                               "PRAGMA secure_delete=ON", "PRAGMA cache_size=-128"}) {
        const auto isDone = guarded([&] { return query(pragma)->next(); });
        if (!isDone) return isDone.status();
    }
    return {};
}

Status PropertyRecordFile::createTables() {
    constexpr const char* kCreateRecords =
        "CREATE TABLE IF NOT EXISTS records (id INTEGER PRIMARY KEY, date REAL NOT NULL, "
        "source TEXT NOT NULL, indexer TEXT NOT NULL, title TEXT NOT NULL, url TEXT NOT NULL, "
        "cachePath BLOB)";
    for (const char* statement :
         {"BEGIN IMMEDIATE", kCreateRecords,
          "CREATE TABLE IF NOT EXISTS removed (id INTEGER PRIMARY KEY)",
          "CREATE TABLE IF NOT EXISTS engine (identity BLOB NOT NULL, next INTEGER NOT NULL)",
          "PRAGMA user_version=1", "COMMIT"}) {
        if (Status status = run(statement); !status.isOk()) return status;
    }
    return {};
}

Status PropertyRecordFile::checkVersion() const {
    const auto version = guarded([this] {
        const auto rows = query("PRAGMA user_version");
        return rows->next() ? rows->bigIntForColumnIndex(0) : 0;
    });
    if (!version) return version.status();
    if (*version == kVersion) return {};
    if (*version <= 0) {
        return {StatusCode::Damaged, filledIn(_("%@ is no properties file of Siftwell."), m_path)};
    }
    return {StatusCode::UnknownVersion,
            filledIn(_("The properties file %@ was written by a newer version of Siftwell. It was "
                       "left as it is; please use the newer version."),
                     m_path)};
}

// A program that was killed while it made the file left it like this.
bool PropertyRecordFile::isEmpty() const {
    const auto isEmpty = guarded([this] { return !query("SELECT 1 FROM sqlite_master")->next(); });
    return isEmpty && *isEmpty;
}

// Throws when the query cannot be prepared.
std::unique_ptr<PLSqliteResultSet> PropertyRecordFile::query(
    const std::string& statement, const PropertyList::Array& arguments) const {
    auto rows = m_database->executeQuery(statement, arguments);
    if (rows == nullptr) throw NamedException("PLSqliteException", m_database->lastErrorMessage());
    return rows;
}

template <typename Read>
auto PropertyRecordFile::guarded(Read read) const -> Result<decltype(read())> {
    try {
        return read();
    } catch (const NamedException& exception) {
        if (m_database->lastErrorCode() != 0 && !isAboutRows(m_database->lastErrorCode())) {
            return failure();
        }
        // SQLite is content; a value is not of the kind that was written.
        return damaged(exception.reason());
    }
}

Status PropertyRecordFile::damaged(const std::string& details) const {
    return {StatusCode::Damaged,
            filledIn(_("The properties file %@ is damaged (%@)."), m_path, details)};
}

Status PropertyRecordFile::failure() const {
    const int code = m_database->lastErrorCode() & 0xFF;
    const std::string message = filledIn(_("The properties file %@ cannot be used (%@)."), m_path,
                                         m_database->lastErrorMessage());
    switch (code) {
        case kSqliteCorrupt:
        case kSqliteNotADatabase:
            return {StatusCode::Damaged, message};
        case kSqliteFull:
            return {StatusCode::NoSpace, message};
        case kSqliteReadOnly:
            return {StatusCode::Denied, message};
        case kSqliteBusy:
        case kSqliteLocked:
            return {StatusCode::Busy, message};
        default:
            return {StatusCode::Failed, message};
    }
}

Result<std::optional<PropertyRecord>> PropertyRecordFile::record(DocumentID document) const {
    return guarded([&]() -> std::optional<PropertyRecord> {
        const auto rows = query(std::string("SELECT ") + kColumns + " FROM records WHERE id = ?",
                                {std::int64_t{document}});
        if (!rows->next()) return std::nullopt;
        return entryIn(*rows).second;
    });
}

Result<std::vector<RecordEntry>> PropertyRecordFile::recordsBehind(DocumentID document,
                                                                   std::size_t max) const {
    return guarded([&] {
        std::vector<RecordEntry> entries;
        const auto rows = query(
            std::string("SELECT ") + kColumns + " FROM records WHERE id > ? ORDER BY id LIMIT ?",
            {std::int64_t{document}, static_cast<std::int64_t>(max)});
        while (rows->next()) entries.push_back(entryIn(*rows));
        return entries;
    });
}

Result<std::int64_t> PropertyRecordFile::count() const {
    return guarded([this]() -> std::int64_t {
        const auto rows =
            query("SELECT count(*) FROM records WHERE id NOT IN (SELECT id FROM removed)");
        return rows->next() ? rows->bigIntForColumnIndex(0) : 0;
    });
}

Result<std::set<DocumentID>> PropertyRecordFile::removed() const {
    return guarded([this] {
        std::set<DocumentID> documents;
        const auto rows = query("SELECT id FROM removed");
        while (rows->next()) documents.insert(documentIn(*rows));
        return documents;
    });
}

Result<std::optional<fulltext::FileIdentity>> PropertyRecordFile::identity() const {
    return guarded([this]() -> std::optional<fulltext::FileIdentity> {
        const auto rows = query("SELECT identity FROM engine");
        if (!rows->next()) return std::nullopt;
        const std::string bytes = rows->dataForColumnIndex(0);
        fulltext::FileIdentity identity{};
        if (bytes.size() != identity.size()) refuse("no index has such an identity");
        std::copy(bytes.begin(), bytes.end(), identity.begin());
        return identity;
    });
}

Result<DocumentID> PropertyRecordFile::nextDocument() const {
    return guarded([this] {
        const auto rows = query("SELECT next FROM engine");
        return rows->next() ? documentIn(*rows) : fulltext::kFirstDocumentID;
    });
}

Status PropertyRecordFile::check() const {
    const auto verdict = guarded([this] {
        const auto rows = query("PRAGMA quick_check(1)");
        return rows->next() ? rows->stringForColumnIndex(0) : std::string();
    });
    if (!verdict) return verdict.status();
    if (*verdict == "ok") return {};
    return damaged(*verdict);
}

Status PropertyRecordFile::run(const std::string& statement, const PropertyList::Array& arguments) {
    const auto isDone = guarded([&] { return m_database->executeUpdate(statement, arguments); });
    if (!isDone) return isDone.status();
    return *isDone ? Status() : failure();
}

Status PropertyRecordFile::write(const RecordChanges& changes) {
    if (!fileInfo(m_path)) {
        // SQLite would go on writing to what nobody can find.
        return {StatusCode::NotFound,
                filledIn(_("The properties file %@ was removed while it was being written; its "
                           "pages are indexed again when they are found the next time."),
                         m_path)};
    }
    if (Status status = run("BEGIN IMMEDIATE"); !status.isOk()) return status;
    Status status = writeInTransaction(changes);
    if (status.isOk()) status = run("COMMIT");
    if (!status.isOk()) static_cast<void>(run("ROLLBACK"));
    return status;
}

Status PropertyRecordFile::writeInTransaction(const RecordChanges& changes) {
    if (Status status = store(changes); !status.isOk()) return status;
    for (const auto& [statement, documents] :
         {std::pair("DELETE FROM removed WHERE id = ?", &changes.restored),
          std::pair("INSERT OR REPLACE INTO removed SELECT id FROM records WHERE id = ?",
                    &changes.removed),
          std::pair("DELETE FROM records WHERE id = ?", &changes.forgotten),
          std::pair("DELETE FROM removed WHERE id = ?", &changes.forgotten)}) {
        if (Status status = runForEach(statement, *documents); !status.isOk()) return status;
    }
    if (Status status = run("DELETE FROM engine"); !status.isOk()) return status;
    return run("INSERT INTO engine VALUES (?, ?)",
               {dataOf(changes.identity), std::int64_t{changes.nextDocument}});
}

Status PropertyRecordFile::store(const RecordChanges& changes) {
    const auto insert =
        m_database->createStatement(std::string("INSERT OR REPLACE INTO records (") + kColumns +
                                    ") VALUES (?, ?, ?, ?, ?, ?, ?)");
    if (insert == nullptr) return failure();
    for (const auto& [document, record] : changes.stored) {
        bindEntry(*insert, document, *record);
        if (!insert->run()) return failure();
    }
    return {};
}

Status PropertyRecordFile::runForEach(const std::string& statement,
                                      const std::vector<DocumentID>& documents) {
    if (documents.empty()) return {};
    const auto prepared = m_database->createStatement(statement);
    if (prepared == nullptr) return failure();
    for (const DocumentID document : documents) {
        prepared->bindInteger(1, document);
        if (!prepared->run()) return failure();
    }
    return {};
}

Status PropertyRecordFile::deleteFrom(DocumentID from) {
    if (Status status = run("DELETE FROM records WHERE id >= ?", {std::int64_t{from}});
        !status.isOk()) {
        return status;
    }
    return run("DELETE FROM removed WHERE id >= ?", {std::int64_t{from}});
}

Status PropertyRecordFile::rewrite() { return run("VACUUM"); }

Status PropertyRecordFile::emptyLog() {
    const auto isBusy = guarded([this] {
        const auto rows = query("PRAGMA wal_checkpoint(TRUNCATE)");
        return rows->next() && rows->bigIntForColumnIndex(0) != 0;
    });
    if (!isBusy) return isBusy.status();
    if (!*isBusy) return {};
    return {StatusCode::Busy,
            filledIn(_("The properties file %@ is being read by another program."), m_path)};
}

void PropertyRecordFile::close() {
    // Refused while another process reads; then the log stays beside the file, which is as good.
    static_cast<void>(guarded([this] { return query("PRAGMA journal_mode=DELETE")->next(); }));
}

}  // namespace siftwell
