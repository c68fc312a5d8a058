#include "index/DocumentProperties.h"

#include <cstdio>
#include <utility>

#include "base/Files.h"
#include "base/Translate.h"

namespace siftwell {

using fulltext::DocumentID;
using fulltext::DocumentState;
using Access = fulltext::Index::Access;

namespace {

constexpr std::uint64_t kNotFlushed = UINT64_MAX;

// A name beside the file that nothing bears yet.
std::string nameToSetAside(const std::string& path) {
    std::string name = path + ".damaged";
    for (int number = 2; fileInfo(name); ++number) {
        name = path + ".damaged" + std::to_string(number);
    }
    return name;
}

}  // namespace

template <typename Use>
auto DocumentProperties::fromFile(Use use) const {
    using Value = std::decay_t<decltype(*use(std::declval<const PropertyRecordFile&>()))>;
    const GateHold hold(m_fileGate);
    const PropertyRecordFile* const records = file();
    if (records == nullptr) return std::optional<Value>();
    auto value = use(*records);
    if (value) return std::optional<Value>(*std::move(value));
    noteFailure(value.status());
    return std::optional<Value>();
}

DocumentProperties::DocumentProperties(std::string path, fulltext::Index& index, Access access,
                                       ErrorHandler onError)
    : m_path(std::move(path)),
      m_index(index),
      m_access(access),
      m_nextAtOpening(index.nextDocument()),
      m_onError(std::move(onError)) {
    // After a clean end there is nothing to settle, and the file can wait until it is needed.
    if (m_access == Access::ReadOnly || !PropertyRecordFile::wasLeftOpen(m_path)) return;
    const GateHold hold(m_fileGate);
    file();
}

DocumentProperties::~DocumentProperties() = default;

bool DocumentProperties::read() {
    const GateHold writing(m_writing);
    {
        const GateHold hold(m_fileGate);
        m_file.reset();
        m_isOpened = false;
        m_isUnusable = false;
        m_fileError = {};
    }
    MutexLock lock(m_mutex);
    m_changes.clear();
    m_changed = false;
    return true;
}

PropertyRecordFile* DocumentProperties::file() const {
    if (m_isOpened) return m_file.get();
    m_isOpened = true;
    auto opened = openFile();
    if (opened) {
        m_file = *std::move(opened);
    } else {
        setAside(opened.status());
    }
    return m_file.get();
}

// Null when there is none, or none of this index. Records of another index, whose file stood here
// once, are not looked at, and go as a whole when the index is open for writing.
Result<std::unique_ptr<PropertyRecordFile>> DocumentProperties::openFile() const {
    std::unique_ptr<PropertyRecordFile> none;
    if (!fileInfo(m_path)) return none;
    const bool isForWriting = m_access == Access::ReadWrite;
    auto opened = isForWriting ? PropertyRecordFile::open(m_path)
                               : PropertyRecordFile::openForReading(m_path);
    if (!opened || *opened == nullptr) return opened;
    const auto identity = (*opened)->identity();
    if (!identity) return identity.status();
    const bool isOfThisIndex = !identity->has_value() || **identity == m_index.identity();
    if (!isForWriting) return isOfThisIndex ? *std::move(opened) : std::move(none);
    if (m_isReconciled) return opened;
    if (Status status = reconcile(**opened, isOfThisIndex); !status.isOk()) return status;
    m_isReconciled = true;
    return opened;
}

// Drops what the index does not know.
Status DocumentProperties::reconcile(PropertyRecordFile& opened, bool isOfThisIndex) const {
    if (Status status = opened.deleteFrom(isOfThisIndex ? m_nextAtOpening : 0); !status.isOk()) {
        return status;
    }
    return settleRemovals(opened);
}

// A document that was to be removed when the program ended is either gone from the index or still
// there.
Status DocumentProperties::settleRemovals(PropertyRecordFile& opened) const {
    const auto removed = opened.removed();
    if (!removed) return removed.status();
    if (removed->empty()) return {};
    if (Status status = m_index.sync(); !status.isOk()) return status;
    RecordChanges changes{.identity = m_index.identity(), .nextDocument = m_nextAtOpening};
    for (const DocumentID document : *removed) {
        const bool isAlive = m_index.stateOf(document) != DocumentState::NotIndexed;
        (isAlive ? changes.restored : changes.forgotten).push_back(document);
    }
    return opened.write(changes);
}

Status DocumentProperties::createFile() {
    if (m_isUnusable || m_access == Access::ReadOnly) {
        return {StatusCode::Failed,
                filledIn(_("The properties file %@ cannot be written."), m_path)};
    }
    auto created = PropertyRecordFile::create(m_path);
    if (!created) return created.status();
    m_file = *std::move(created);
    m_isReconciled = true;
    return {};
}

void DocumentProperties::noteFailure(const Status& status) const {
    if (status.code() != StatusCode::Damaged) return reportOnce(status);
    m_file.reset();
    setAside(status);
}

// The file is never overwritten: a person may want to mend it.
void DocumentProperties::setAside(const Status& status) const {
    m_fileError = status;
    if (m_access == Access::ReadOnly || status.code() != StatusCode::Damaged) {
        m_isUnusable = true;
        return reportOnce(status);
    }
    const std::string aside = nameToSetAside(m_path);
    for (const std::string& path : PropertyRecordFile::pathsOf(m_path)) {
        const std::string target = aside + path.substr(m_path.size());
        if (fileInfo(path)) m_isUnusable |= std::rename(path.c_str(), target.c_str()) != 0;
    }
    reportOnce(
        {status.code(), filledIn(_("%@ The file was moved to %@; its pages are indexed again "
                                   "when they are found the next time."),
                                 status.message(), aside)});
}

// A failing file is told once, until it works again.
void DocumentProperties::reportOnce(const Status& status) const {
    if (!m_isErrorReported.exchange(!status.isOk()) && !status.isOk() && m_onError)
        m_onError(status);
}

const std::optional<PropertyRecord>* DocumentProperties::changeOf(DocumentID document) const {
    for (const Changes* changes : {&m_changes, m_beingWritten.get()}) {
        if (changes == nullptr) continue;
        const auto change = changes->find(document);
        if (change != changes->end()) return &change->second;
    }
    return nullptr;
}

std::optional<PropertyRecord> DocumentProperties::propertiesForSKDocument(
    DocumentID document) const {
    {
        MutexLock lock(m_mutex);
        if (const auto* change = changeOf(document)) return *change;
        if (m_removedInFile.contains(document)) return std::nullopt;
    }
    return fromFile([document](const auto& file) { return file.record(document); })
        .value_or(std::nullopt);
}

std::optional<Date> DocumentProperties::dateForSKDocument(DocumentID document) const {
    const auto record = propertiesForSKDocument(document);
    return record ? std::optional(record->date) : std::nullopt;
}

std::vector<RecordEntry> DocumentProperties::recordsBehind(DocumentID document,
                                                           std::size_t max) const {
    for (;;) {
        DocumentID end = fulltext::kNoDocument;
        std::vector<RecordEntry> records = recordsBehind(document, max, end);
        if (!records.empty() || end == fulltext::kNoDocument) return records;
        document = end;  // all of these were removed
    }
}

// Looks at the file up to `end`; kNoDocument when that was all.
std::vector<RecordEntry> DocumentProperties::recordsBehind(DocumentID document, std::size_t max,
                                                           DocumentID& end) const {
    const auto entries =
        fromFile([document, max](const auto& file) { return file.recordsBehind(document, max); });
    std::map<DocumentID, PropertyRecord> found;
    if (entries) {
        if (entries->size() == max) end = entries->back().first;
        found.insert(entries->begin(), entries->end());
    }
    MutexLock lock(m_mutex);
    for (const auto& removed : m_removedInFile) found.erase(removed.first);
    for (const Changes* changes : {m_beingWritten.get(), &std::as_const(m_changes)}) {
        if (changes == nullptr) continue;
        for (auto change = changes->upper_bound(document);
             change != changes->end() && change->first <= end; ++change) {
            if (change->second) {
                found.insert_or_assign(change->first, *change->second);
            } else {
                found.erase(change->first);
            }
        }
    }
    std::vector<RecordEntry> result(found.begin(), found.end());
    if (result.size() > max) result.resize(max);
    return result;
}

std::int64_t DocumentProperties::count() const {
    const GateHold writing(m_writing);
    std::map<DocumentID, bool> changes;  // and whether the record is there afterwards
    {
        MutexLock lock(m_mutex);
        for (const auto& [document, record] : m_changes) changes[document] = record.has_value();
    }
    std::int64_t count =
        fromFile([](const auto& file) { return file.count(); }).value_or(std::int64_t{0});
    for (const auto& [document, isThere] : changes) {
        count += static_cast<int>(isThere) - static_cast<int>(isInFile(document));
    }
    return count;
}

bool DocumentProperties::isInFile(DocumentID document) const {
    {
        MutexLock lock(m_mutex);
        if (m_removedInFile.contains(document)) return false;
    }
    const auto record = fromFile([document](const auto& file) { return file.record(document); });
    return record && record->has_value();
}

bool DocumentProperties::addSKDocument(DocumentID document,
                                       const std::optional<PropertyRecord>& withProperties) {
    if (!withProperties) return true;
    MutexLock lock(m_mutex);
    m_changes.insert_or_assign(document, *withProperties);
    m_changed = true;
    return true;
}

bool DocumentProperties::removeSKDocument(DocumentID document) {
    MutexLock lock(m_mutex);
    m_changes.insert_or_assign(document, std::nullopt);
    m_changed = true;
    return true;
}

bool DocumentProperties::write() {
    const GateHold writing(m_writing);
    const auto changes = takeChanges();
    if (changes == nullptr) return false;
    const Status status = commit(*changes);
    if (!status.isOk()) putBack(*changes);
    reportOnce(status);
    MutexLock lock(m_mutex);
    m_beingWritten.reset();
    return status.isOk();
}

std::shared_ptr<const DocumentProperties::Changes> DocumentProperties::takeChanges() {
    MutexLock lock(m_mutex);
    if (!std::exchange(m_changed, false)) return nullptr;
    m_beingWritten = std::make_shared<const Changes>(std::exchange(m_changes, {}));
    return m_beingWritten;
}

Status DocumentProperties::commit(const Changes& changes) {
    const GateHold hold(m_fileGate);
    if (file() == nullptr) {
        if (Status status = createFile(); !status.isOk()) return status;
    }
    const RecordChanges described = describe(changes);
    Status status = m_file->write(described);
    if (!status.isOk()) noteFailure(status);
    noteWritten(described, status.isOk());
    return status;
}

// What was removed before goes for good once no state of the index that may survive knows it.
RecordChanges DocumentProperties::describe(const Changes& changes) {
    RecordChanges result{.identity = m_index.identity(), .nextDocument = m_index.nextDocument()};
    const std::uint64_t durable = m_index.durableGeneration();
    MutexLock lock(m_mutex);
    for (const auto& [document, record] : changes) {
        if (!record) {
            result.removed.push_back(document);
        } else {
            result.stored.emplace_back(document, &*record);
            // A number that is given a record again is not removed any more.
            if (m_removedInFile.erase(document) > 0) result.restored.push_back(document);
        }
    }
    for (const auto& [document, generation] : m_removedInFile) {
        if (generation <= durable) result.forgotten.push_back(document);
    }
    return result;
}

void DocumentProperties::noteWritten(const RecordChanges& written, bool isDone) {
    MutexLock lock(m_mutex);
    if (!isDone) return;
    for (const DocumentID document : written.forgotten) m_removedInFile.erase(document);
    for (const DocumentID document : written.removed) m_removedInFile[document] = kNotFlushed;
}

void DocumentProperties::putBack(const Changes& changes) {
    MutexLock lock(m_mutex);
    m_changes.insert(changes.begin(), changes.end());  // newer ones stay
}

void DocumentProperties::indexWasFlushed() {
    const std::uint64_t generation = m_index.generation();
    MutexLock lock(m_mutex);
    for (auto& [document, flushedIn] : m_removedInFile) {
        if (flushedIn == kNotFlushed) flushedIn = generation;
    }
}

bool DocumentProperties::isWritten() const {
    MutexLock lock(m_mutex);
    return m_changes.empty() && m_beingWritten == nullptr;
}

Status DocumentProperties::check() const {
    const GateHold hold(m_fileGate);
    const PropertyRecordFile* const records = file();
    return records == nullptr ? m_fileError : records->check();
}

Status DocumentProperties::checkAndSetAside() const {
    const GateHold hold(m_fileGate);
    const PropertyRecordFile* const records = file();
    if (records == nullptr) return m_fileError;
    Status status = records->check();
    if (!status.isOk()) noteFailure(status);
    return status;
}

Status DocumentProperties::eraseRemoved(bool withRewrite) {
    const GateHold writing(m_writing);
    const GateHold hold(m_fileGate);
    if (file() == nullptr) return m_fileError;
    const RecordChanges rest = describe({});
    Status status = rest.forgotten.empty() ? Status() : m_file->write(rest);
    if (status.isOk()) {
        noteWritten(rest, true);
        if (withRewrite) status = m_file->rewrite();
    }
    if (status.isOk()) status = m_file->emptyLog();
    if (status.code() == StatusCode::Damaged) noteFailure(status);
    return status;
}

void DocumentProperties::close() {
    const GateHold writing(m_writing);
    const GateHold hold(m_fileGate);
    m_isOpened = true;  // and not again
    if (m_file != nullptr && m_access == Access::ReadWrite) {
        const RecordChanges rest = describe({});
        if (!rest.forgotten.empty()) reportOnce(m_file->write(rest));
        m_file->close();
    }
    m_file.reset();
}

}  // namespace siftwell
