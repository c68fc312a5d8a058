#include "fulltext/Repair.h"

#include <algorithm>
#include <set>

#include "base/Translate.h"
#include "fulltext/Checker.h"
#include "fulltext/DocumentRecord.h"
#include "fulltext/Flushing.h"
#include "fulltext/Inverter.h"
#include "fulltext/Merging.h"
#include "fulltext/Opening.h"
#include "fulltext/Survey.h"

namespace siftwell::fulltext {

namespace {

constexpr std::size_t kMaxBufferedBytes = std::size_t{16} << 20;
constexpr std::size_t kMaxWaitingBytes = 256 << 10;
constexpr std::uint64_t kMaxGeneration = std::uint64_t{1} << 62;  // what is above is no honest one

using Documents = std::vector<FoundDocument>;

// Hints of an index whose file stood here once say nothing.
bool isOfHints(const Survey& survey, const RepairHints& hints) {
    return !survey.identity() || !hints.identity || *survey.identity() == *hints.identity;
}

// What there is to choose from, each number once: the record in front, of which a stale one may lie
// behind. With what is removed, which may have replaced others.
Documents oneOfEachNumber(const Survey& survey, const RepairHints& hints) {
    Documents chosen;
    for (const FoundDocument& document : survey.documents()) {
        const Fate fate = survey.fateOf(document);
        if (fate == Fate::Stale) continue;
        if (!chosen.empty() && chosen.back().id == document.id) continue;
        const bool isAsked = fate == Fate::Unknown && hints.isAlive && isOfHints(survey, hints);
        const std::optional<bool> isAlive = isAsked ? hints.isAlive(document.id) : std::nullopt;
        if (isAlive && !*isAlive) continue;
        chosen.push_back(document);
        chosen.back().isRemoved = fate == Fate::Removed;
        chosen.back().isUncertain = fate == Fate::Unknown && !isAlive;
    }
    return chosen;
}

bool isAlive(const FoundDocument& document) { return !document.isUncertain && !document.isRemoved; }

std::uint64_t countOfKept(const Documents& documents) {
    return static_cast<std::uint64_t>(
        std::count_if(documents.begin(), documents.end(),
                      [](const FoundDocument& document) { return !document.isRemoved; }));
}

// Numbers that lie far from all others, and of which nothing else tells, are not believed: a
// segment takes room for each number in between, and the next document a number behind. When
// nothing tells of any, the most that lie together are.
Documents believable(const Documents& documents, DocumentID next) {
    constexpr DocumentID kMaxGap = DocumentID{4} << 20;
    Documents believed;
    Documents largest;
    for (auto begin = documents.begin(); begin != documents.end();) {
        auto end = std::next(begin);
        const auto isNear = [&] {
            const auto count = static_cast<std::uint64_t>(end - begin);
            return end->id - std::prev(end)->id <= kMaxGap &&
                   end->id - begin->id <= kMaxGap + 64 * count;
        };
        while (end != documents.end() && isNear()) ++end;
        const bool isKnown = std::any_of(begin, end, [next](const FoundDocument& document) {
            return isAlive(document) || document.id < next;
        });
        if (isKnown) believed.insert(believed.end(), begin, end);
        if (end - begin > static_cast<std::ptrdiff_t>(largest.size())) largest.assign(begin, end);
        begin = end;
    }
    return believed.empty() ? largest : believed;
}

// Of the records from `begin` to `end`, whose keys have the same hash, the first of each key: the
// one that is alive for certain, or the newest.
void keepNewest(const StorageFile& file, Documents::iterator begin, Documents::iterator end,
                Documents& kept) {
    if (end - begin == 1) {
        kept.push_back(*begin);
        return;
    }
    std::set<std::pair<std::string, std::string>> seen;
    for (auto document = begin; document != end; ++document) {
        auto identity = readIdentity(file, document->place.offset);
        if (!identity) continue;
        const bool isNewest =
            seen.emplace(std::move(identity->key.scheme), std::move(identity->key.name)).second;
        if (isNewest) kept.push_back(*document);
    }
}

// The newest record of each key, unless it was removed; by number.
Documents newestOfEachKey(const StorageFile& file, Documents documents) {
    std::sort(documents.begin(), documents.end(), [](const auto& a, const auto& b) {
        if (a.keyHash != b.keyHash) return a.keyHash < b.keyHash;
        return isAlive(a) != isAlive(b) ? isAlive(a) : a.id > b.id;
    });
    Documents kept;
    for (auto begin = documents.begin(); begin != documents.end();) {
        const auto end = std::find_if(begin, documents.end(), [&begin](const auto& document) {
            return document.keyHash != begin->keyHash;
        });
        keepNewest(file, begin, end, kept);
        begin = end;
    }
    std::erase_if(kept, [](const FoundDocument& document) { return document.isRemoved; });
    std::sort(kept.begin(), kept.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
    return kept;
}

// A name beside the file that nothing bears yet, or that this very file bears: then a repair was
// broken off behind its last step but one.
std::string nameToKeep(Storage& storage, const StorageFile& file, const std::string& path) {
    constexpr int kMaxNames = 10000;
    std::string name = path + ".damaged";
    for (int number = 2; number < kMaxNames; ++number) {
        const auto there = storage.open(name, Storage::Mode::ReadOnly);
        if (!there && there.status().code() == StatusCode::NotFound) break;
        if (storage.isNamed(file, name)) break;
        name = path + ".damaged" + std::to_string(number);
    }
    return name;
}

class Repair {
public:
    Repair(std::string path, std::shared_ptr<StorageFile> file, const RepairHints& hints,
           Storage& storage, const PaceCallback& pace)
        : m_path(std::move(path)),
          m_file(std::move(file)),
          m_hints(hints),
          m_storage(storage),
          m_pace(pace) {}

    Result<RepairReport> run(std::optional<Findings> findings);

private:
    Status createFile(const Survey& survey);
    Status bringBack(const Survey& survey);
    Status bringBack(std::string_view record, const FoundDocument& document);
    Status finish();
    Status putInPlace();

    const std::string m_path;
    const std::shared_ptr<StorageFile> m_file;
    const RepairHints& m_hints;
    Storage& m_storage;
    const PaceCallback& m_pace;
    std::shared_ptr<IndexCore> m_core;  // of the new file
    std::shared_ptr<StorageFile> m_newFile;
    DocumentID m_next = kFirstDocumentID;
    Inverter m_inverter;
    RepairReport m_report;
};

// `findings` of an index that could be opened.
Result<RepairReport> Repair::run(std::optional<Findings> findings) {
    const Result<Survey> survey = Survey::make(m_file, m_pace);
    if (!survey) return survey.status();
    m_report.findings = findings ? *std::move(findings) : survey->findings();
    m_report.lost = survey->lostDocuments();
    m_report.isLimited = survey->isLimited();
    Status status = createFile(*survey);
    if (status.isOk()) status = bringBack(*survey);
    if (status.isOk()) status = finish();
    if (status.isOk()) status = putInPlace();
    if (m_core != nullptr) m_core->endWriting();
    if (status.isOk()) return std::move(m_report);
    static_cast<void>(m_storage.remove(repairPath(m_path)));
    return status;
}

Status Repair::createFile(const Survey& survey) {
    const std::string path = repairPath(m_path);
    if (Status status = m_storage.remove(path); !status.isOk()) return status;
    auto file = m_storage.open(path, Storage::Mode::CreateNew);
    if (!file) return file.status();
    if (Status status = (*file)->lockForWriting(); !status.isOk()) return status;
    FileIdentity identity{};
    if (survey.identity()) {
        identity = *survey.identity();
    } else {
        identity = m_hints.identity ? *m_hints.identity : newFileIdentity();
    }
    m_report.areSettingsLost = !survey.settings();
    Status status = writeNewIndex(**file, identity, survey.settings().value_or(m_hints.settings),
                                  std::min(survey.highestGeneration(), kMaxGeneration) + 1);
    if (!status.isOk()) return status;
    auto core = openCore(*std::move(file), std::nullopt, Index::Access::ReadWrite,
                         {.storage = &m_storage, .pace = m_pace});
    if (!core) return core.status();
    m_core = *std::move(core);
    m_newFile = m_core->currentFile();
    return {};
}

Status Repair::bringBack(const Survey& survey) {
    const DocumentID next = isOfHints(survey, m_hints) ? m_hints.next : kFirstDocumentID;
    const Documents there = oneOfEachNumber(survey, m_hints);
    const Documents believed = believable(there, next);
    m_report.lost += countOfKept(there) - countOfKept(believed);
    m_next = survey.nextFrom(believed.empty() ? next : std::max(next, believed.back().id + 1));
    const Documents documents = newestOfEachKey(*m_file, believed);
    for (const FoundDocument& document : documents) {
        const std::string_view record =
            survey.bytes().substr(document.place.offset, document.place.size);
        if (Status status = bringBack(record, document); !status.isOk()) return status;
        if (m_pace) m_pace();
    }
    return {};
}

Status Repair::bringBack(std::string_view record, const FoundDocument& document) {
    auto stored = readDocument(*m_file, document.place.offset);
    if (!stored) {  // a right checksum over a text that is none
        ++m_report.lost;
        return {};
    }
    auto text = std::make_shared<const InvertedText>(
        m_inverter.invert(stored->readableText, m_core->tables));
    {
        MutexLock lock(m_core->mutex);
        m_core->noteBuffered(text->memoryBytes());
        m_core->contents.add(std::make_shared<const MemoryDocument>(
            MemoryDocument{.id = document.id,
                           .key = std::move(stored->key),
                           .keyHash = document.keyHash,
                           .place = m_core->tail->append(record).offset,
                           .recordBytes = record.size(),
                           .textBytes = stored->readableText.size(),
                           .text = std::move(text)}));
    }
    ++m_report.documents;
    if (document.isUncertain) ++m_report.uncertain;
    if (m_core->bufferedBytes() > kMaxBufferedBytes) return spill(*m_core);
    if (m_core->currentTail()->waitingBytes() <= kMaxWaitingBytes) return {};
    return m_core->currentTail()->writeOut(*m_newFile);
}

// What is put in place was checked.
Status Repair::finish() {
    {
        MutexLock lock(m_core->mutex);
        m_core->contents.skipTo(m_next);
    }
    Status status = flush(*m_core, FlushKind::Closing);
    if (status.isOk()) status = mergeSegmentsOf(*m_core);
    if (status.isOk()) status = flush(*m_core, FlushKind::Closing);
    if (status.isOk()) status = sync(*m_core);
    if (!status.isOk()) return status;
    const Findings findings = checkIndex(*m_core);
    return findings.isEmpty() ? Status()
                              : damagedFile(*m_newFile, sentenceFor(findings.named().front()));
}

Status Repair::putInPlace() {
    m_report.keptAs = nameToKeep(m_storage, *m_file, m_path);
    if (!m_storage.isNamed(*m_file, m_report.keptAs)) {
        if (Status status = m_storage.keep(*m_file, m_report.keptAs); !status.isOk()) return status;
    }
    Status status = m_storage.syncFolderOf(m_path);
    if (status.isOk()) status = m_storage.rename(*m_newFile, m_path);
    if (status.isOk()) status = m_storage.syncFolderOf(m_path);
    return status;
}

// None when the index cannot be opened.
std::optional<Findings> findingsOfOpenable(const std::string& path, Storage& storage) {
    const auto index =
        Index::open(path, std::nullopt, Index::Access::ReadOnly, {.storage = &storage});
    return index ? std::optional((*index)->findDamage()) : std::nullopt;
}

Status checkVersionOf(const StorageFile& file) {
    const Result<std::string> page = file.readAt(0, kHeaderPageSize);
    return page ? checkVersion(file, *page) : Status();
}

}  // namespace

Result<RepairReport> repairIndex(const std::string& path, const RepairHints& hints,
                                 Storage& storage, const PaceCallback& pace) {
    auto file = openLocked(storage, path);
    if (!file) return file.status();
    if (Status status = checkVersionOf(**file); !status.isOk()) return status;
    auto findings = findingsOfOpenable(path, storage);
    if (findings && findings->isEmpty()) return RepairReport();
    return Repair(path, *std::move(file), hints, storage, pace).run(std::move(findings));
}

Result<Findings> findDamageIn(const std::string& path, Storage& storage) {
    auto index = Index::open(path, std::nullopt, Index::Access::ReadOnly, {.storage = &storage});
    if (index) return (*index)->findDamage();
    if (index.status().code() != StatusCode::Damaged &&
        index.status().code() != StatusCode::NotFound &&
        index.status().code() != StatusCode::UnknownVersion) {
        return index.status();
    }
    auto file = storage.open(path, Storage::Mode::ReadOnly);
    if (!file) return file.status();
    const std::shared_ptr<const StorageFile> shared(*std::move(file));
    const Result<Survey> survey = Survey::make(shared, {});
    if (!survey) return survey.status();
    Findings findings = survey->findings();
    if (findings.isEmpty()) {
        findings.add(DamagedPart::File, 0, detailOf(index.status(), *shared));
    }
    return findings;
}

std::string repairPath(const std::string& indexPath) { return indexPath + ".repairing"; }

}  // namespace siftwell::fulltext
