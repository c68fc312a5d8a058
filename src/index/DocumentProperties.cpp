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

}  // namespace

DocumentProperties::DocumentProperties(std::string path, fulltext::Index& index, Access access,
                                       ErrorHandler onError)
    : m_path(std::move(path)),
      m_index(index),
      m_access(access),
      m_nextAtOpening(index.nextDocument()),
      m_onError(std::move(onError)),
      m_highest(m_nextAtOpening - 1) {
    // After a clean end there is nothing to settle, and the file can wait until it is needed.
    if (m_access == Access::ReadWrite && PropertyRecordFile::wasLeftOpen(m_path)) file();
}

DocumentProperties::~DocumentProperties() = default;

bool DocumentProperties::read() {
    const GateHold writing(m_writing);
    const GateHold hold(m_fileGate);
    m_file.reset();
    m_isOpened = false;
    MutexLock lock(m_mutex);
    m_changes.clear();
    m_changed = false;
    m_count = 0;
    return true;
}

PropertyRecordFile* DocumentProperties::file() const {
    const GateHold hold(m_fileGate);
    if (!m_isOpened) {
        m_isOpened = true;
        openFile();
    }
    return m_file.get();
}

void DocumentProperties::openFile() const {
    if (!fileInfo(m_path)) return;
    const bool isForWriting = m_access == Access::ReadWrite;
    auto opened = isForWriting ? PropertyRecordFile::open(m_path)
                               : PropertyRecordFile::openForReading(m_path);
    Status status = opened ? Status() : opened.status();
    if (status.isOk() && isForWriting) status = reconcile(**opened);
    Result<std::int64_t> count = 0;
    if (status.isOk()) {
        count = (*opened)->count();
        status = count.status();
    }
    if (!status.isOk()) return setAside(status);
    m_file = *std::move(opened);
    MutexLock lock(m_mutex);
    m_count += *count - static_cast<std::int64_t>(m_removedInFile.size());
}

// Drops what the index does not know. Records of another index, whose file stood here once, go as a
// whole.
Status DocumentProperties::reconcile(PropertyRecordFile& opened) const {
    const auto identity = opened.identity();
    if (!identity) return identity.status();
    const bool isOfThisIndex = !identity->has_value() || **identity == m_index.identity();
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

// The file is never overwritten: a person may want to mend it.
void DocumentProperties::setAside(const Status& status) const {
    m_openingError = status;
    if (m_access == Access::ReadOnly || status.code() != StatusCode::Damaged) {
        m_isUnusable = true;
        return reportOnce(status);
    }
    const std::string aside = m_path + ".damaged";
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
    PropertyRecordFile* const records = file();
    if (records == nullptr) return std::nullopt;
    const GateHold hold(m_fileGate);
    const auto record = records->record(document);
    if (record) return *record;
    reportOnce(record.status());
    return std::nullopt;
}

std::optional<Date> DocumentProperties::dateForSKDocument(DocumentID document) const {
    const auto record = propertiesForSKDocument(document);
    return record ? std::optional(record->date) : std::nullopt;
}

std::vector<RecordEntry> DocumentProperties::recordsBehind(DocumentID document,
                                                           std::size_t max) const {
    std::map<DocumentID, PropertyRecord> found;
    DocumentID end = fulltext::kNoDocument;  // behind which the file was not looked at
    if (PropertyRecordFile* const records = file()) {
        const GateHold hold(m_fileGate);
        const auto entries = records->recordsBehind(document, max);
        reportOnce(entries.status());
        if (entries && entries->size() == max) end = entries->back().first;
        if (entries) found.insert(entries->begin(), entries->end());
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
    file();
    MutexLock lock(m_mutex);
    return m_count;
}

// Numbers rise, so that a new one need not be looked up.
bool DocumentProperties::isKnown(DocumentID document) const {
    {
        MutexLock lock(m_mutex);
        if (document > m_highest) return false;
    }
    return propertiesForSKDocument(document).has_value();
}

bool DocumentProperties::addSKDocument(DocumentID document,
                                       const std::optional<PropertyRecord>& withProperties) {
    if (!withProperties) return true;
    const bool isNew = !isKnown(document);
    MutexLock lock(m_mutex);
    m_changes.insert_or_assign(document, *withProperties);
    m_changed = true;
    m_highest = std::max(m_highest, document);
    if (isNew) ++m_count;
    return true;
}

bool DocumentProperties::removeSKDocument(DocumentID document) {
    const bool isThere = isKnown(document);
    MutexLock lock(m_mutex);
    m_changed = true;
    if (!isThere) return true;
    m_changes.insert_or_assign(document, std::nullopt);
    --m_count;
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
    PropertyRecordFile* const records = fileForWriting();
    if (records == nullptr) {
        return {StatusCode::Failed,
                filledIn(_("The properties file %@ cannot be written."), m_path)};
    }
    const RecordChanges described = describe(changes);
    Status status;
    {
        const GateHold hold(m_fileGate);
        status = records->write(described);
    }
    noteWritten(described, status.isOk());
    return status;
}

PropertyRecordFile* DocumentProperties::fileForWriting() {
    if (PropertyRecordFile* const records = file()) return records;
    const GateHold hold(m_fileGate);
    if (m_isUnusable || m_access == Access::ReadOnly) return nullptr;
    auto created = PropertyRecordFile::create(m_path);
    if (!created) {
        reportOnce(created.status());
        return nullptr;
    }
    m_file = *std::move(created);
    return m_file.get();
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

Status DocumentProperties::check() const {
    PropertyRecordFile* const records = file();
    const GateHold hold(m_fileGate);
    if (records != nullptr) return records->check();
    return m_openingError;
}

void DocumentProperties::close() {
    const GateHold writing(m_writing);
    const RecordChanges rest = describe({});
    const GateHold hold(m_fileGate);
    if (m_file != nullptr && m_access == Access::ReadWrite) {
        if (!rest.forgotten.empty()) reportOnce(m_file->write(rest));
        m_file->close();
    }
    m_file.reset();
}

}  // namespace siftwell
