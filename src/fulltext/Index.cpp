#include "fulltext/Index.h"

#include <algorithm>
#include <set>

#include "base/Translate.h"
#include "fulltext/Checker.h"
#include "fulltext/Compaction.h"
#include "fulltext/DocumentRecord.h"
#include "fulltext/Flushing.h"
#include "fulltext/IndexCore.h"
#include "fulltext/Merging.h"
#include "fulltext/Opening.h"
#include "fulltext/Repair.h"
#include "fulltext/Search.h"
#include "text/Words.h"

namespace siftwell::fulltext {

namespace {

// Segments up to this size are merged before an index is closed, so that a program that often adds
// a little does not leave a little segment each time.
constexpr std::uint64_t kMergedOnClosing = 8 << 20;

std::string creationPath(const std::string& indexPath) { return indexPath + ".creating"; }

}  // namespace

Index::Index(std::shared_ptr<IndexCore> core, const Surroundings& surroundings)
    : m_core(std::move(core)), m_surroundings(surroundings) {}

void Index::abandon() {
    m_core->isClosing = true;
    MutexLock lock(m_core->naming);
    m_core->isAbandoned = true;
}

Index::~Index() {
    m_core->isClosing = true;
    if (m_surroundings.maintenance != nullptr) m_surroundings.maintenance->forget(*m_core);
    if (!m_core->isReadOnly) m_core->endWriting();
}

Result<std::unique_ptr<Index>> Index::create(const std::string& path, const IndexSettings& settings,
                                             const Surroundings& surroundings) {
    Storage& storage = *surroundings.storage;
    const auto there = storage.open(path, Storage::Mode::ReadOnly);
    if (there) return Status(StatusCode::Exists, filledIn(_("There is a file %@ already."), path));
    if (there.status().code() != StatusCode::NotFound) return there.status();
    // It gets its name when it is whole: a program that is killed here leaves no half index behind.
    const std::string newPath = creationPath(path);
    if (Status status = storage.remove(newPath); !status.isOk()) return status;
    auto file = storage.open(newPath, Storage::Mode::CreateNew);
    if (!file) return file.status();
    Status status = (*file)->lockForWriting();
    if (status.isOk()) status = writeNewIndex(**file, newFileIdentity(), settings);
    if (status.isOk()) status = storage.rename(**file, path);
    if (status.isOk()) status = storage.syncFolderOf(path);
    if (!status.isOk()) {
        static_cast<void>(storage.remove((*file)->path()));
        return status;
    }
    return openFile(*std::move(file), settings.internalName, Access::ReadWrite, surroundings);
}

Result<std::unique_ptr<Index>> Index::open(const std::string& path,
                                           const std::optional<std::string>& internalName,
                                           Access access, const Surroundings& surroundings) {
    if (access == Access::ReadOnly) {
        auto file = surroundings.storage->open(path, Storage::Mode::ReadOnly);
        if (!file) return file.status();
        return openFile(*std::move(file), internalName, access, surroundings);
    }
    // A file that is no index is told before it is locked.
    auto looked = surroundings.storage->open(path, Storage::Mode::ReadOnly);
    if (!looked) return looked.status();
    if (const auto header = readHeader(**looked); !header) return header.status();
    auto file = openLocked(*surroundings.storage, path);
    if (!file) return file.status();
    static_cast<void>(surroundings.storage->remove(compactionPath(path)));
    static_cast<void>(surroundings.storage->remove(repairPath(path)));
    return openFile(*std::move(file), internalName, access, surroundings);
}

Result<std::unique_ptr<Index>> Index::openFile(std::unique_ptr<StorageFile> file,
                                               const std::optional<std::string>& internalName,
                                               Access access, const Surroundings& surroundings) {
    auto core = openCore(std::move(file), internalName, access, surroundings);
    if (!core) return core.status();
    // What a killed program flushed and did not sync survives a later power cut too. A failure is
    // kept by the index.
    if (!(*core)->isReadOnly) static_cast<void>(fulltext::sync(**core));
    if (surroundings.budget != nullptr && !(*core)->isReadOnly) surroundings.budget->enter(*core);
    return std::unique_ptr<Index>(new Index(*std::move(core), surroundings));
}

Status Index::close() {
    if (m_core->isReadOnly) return {};
    if (m_core->isEnded()) return {};
    m_core->isClosing = true;
    if (m_surroundings.maintenance != nullptr) m_surroundings.maintenance->forget(*m_core);
    m_core->isClosing = false;
    Status status = fulltext::flush(*m_core, FlushKind::Closing);
    if (status.isOk()) status = mergeSegmentsOf(*m_core, kMergedOnClosing);
    if (status.isOk()) status = fulltext::flush(*m_core, FlushKind::Closing);
    if (status.isOk()) status = fulltext::sync(*m_core);
    m_core->endWriting();
    return status;
}

const IndexSettings& Index::settings() const { return m_core->settings; }

const FileIdentity& Index::identity() const { return m_core->identity; }

std::string Index::path() const { return m_core->path; }

std::uint64_t Index::documentCount() const {
    MutexLock lock(m_core->mutex);
    return m_core->contents.totals().documents;
}

DocumentID Index::nextDocument() const {
    MutexLock lock(m_core->mutex);
    return m_core->contents.nextDocument();
}

std::uint64_t Index::generation() const {
    MutexLock lock(m_core->mutex);
    return m_core->latest.generation;
}

std::uint64_t Index::durableGeneration() const {
    MutexLock lock(m_core->mutex);
    return m_core->durable.generation;
}

std::uint64_t Index::fileBytes() const {
    MutexLock lock(m_core->mutex);
    return m_core->tail->end();
}

DocumentState Index::stateOf(DocumentID document) const {
    MutexLock lock(m_core->mutex);
    if (!m_core->contents.isLive(document)) return DocumentState::NotIndexed;
    return m_core->contents.isPending(document) ? DocumentState::Pending : DocumentState::Indexed;
}

std::vector<DocumentID> Index::documentsBehind(DocumentID document, std::size_t max) const {
    std::vector<DocumentID> found;
    MutexLock lock(m_core->mutex);
    while (found.size() < max) {
        document = m_core->contents.nextLive(document);
        if (document == kNoDocument) break;
        found.push_back(document);
    }
    return found;
}

Result<std::uint64_t> Index::placeOf(DocumentID document) const {
    std::shared_ptr<const Contents::SegmentList> segments;
    {
        MutexLock lock(m_core->mutex);
        if (!m_core->contents.isLive(document)) {
            return Status(StatusCode::NotFound, _("The document is not in the index."));
        }
        if (const auto inMemory = m_core->contents.findInMemory(document)) return inMemory->place;
        segments = m_core->contents.segmentList();
    }
    for (const auto& segment : *segments) {
        if (segment->covers(document)) return segment->placeOf(document);
    }
    return Status(StatusCode::NotFound, _("The document is not in the index."));
}

Result<DocumentKey> Index::keyOf(DocumentID document) const {
    const SharedHold hold(m_core->switching);
    const Result<std::uint64_t> place = placeOf(document);
    if (!place) return place.status();
    const auto file = m_core->currentFile();
    if (Status status = m_core->currentTail()->writeOut(*file); !status.isOk()) return status;
    Result<StoredIdentity> identity = readIdentity(*file, *place);
    if (!identity) return identity.status();
    return std::move(identity->key);
}

Result<std::string> Index::readableTextOf(DocumentID document) const {
    const SharedHold hold(m_core->switching);
    const Result<std::uint64_t> place = placeOf(document);
    if (!place) return place.status();
    const auto file = m_core->currentFile();
    if (Status status = m_core->currentTail()->writeOut(*file); !status.isOk()) return status;
    Result<StoredDocument> stored = readDocument(*file, *place);
    if (!stored) return stored.status();
    return std::move(stored->readableText);
}

Result<std::vector<std::string>> Index::termsOf(DocumentID document) const {
    const Result<std::string> text = readableTextOf(document);
    if (!text) return text.status();
    std::set<std::string, std::less<>> terms;
    for (WordScanner scanner(*text); scanner.next();) {
        if (m_core->filter.isTerm(scanner.word())) terms.emplace(scanner.word());
    }
    return std::vector<std::string>(terms.begin(), terms.end());
}

Result<std::uint32_t> Index::wordsOf(DocumentID document) const {
    const Status notFound(StatusCode::NotFound, _("The document is not in the index."));
    std::shared_ptr<const Contents::SegmentList> segments;
    {
        MutexLock lock(m_core->mutex);
        if (!m_core->contents.isLive(document)) return notFound;
        if (const auto inMemory = m_core->contents.findInMemory(document)) {
            return inMemory->text->words();
        }
        segments = m_core->contents.segmentList();
    }
    for (const auto& segment : *segments) {
        if (!segment->covers(document)) continue;
        const auto words = segment->wordsOf(document);
        if (!words) return words.status();
        return words->value_or(0);
    }
    return notFound;
}

std::unique_ptr<Search> Index::search(std::string_view query) const {
    MutexLock lock(m_core->mutex);
    return std::make_unique<Search>(m_core->contents.snapshot(), query, m_core->filter);
}

Findings Index::findDamage() const { return checkIndex(*m_core); }

Status Index::check() const {
    const Findings findings = checkIndex(*m_core, 1);
    if (findings.isEmpty()) return {};
    return damagedFile(*m_core->currentFile(), sentenceFor(findings.named().front()));
}

}  // namespace siftwell::fulltext
