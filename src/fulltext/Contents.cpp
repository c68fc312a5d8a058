#include "fulltext/Contents.h"

#include <algorithm>

namespace siftwell::fulltext {

namespace {

// So many commits are read back at most when an index is opened.
constexpr std::size_t kMaxChainLength = 256;

constexpr std::size_t kNotThere = static_cast<std::size_t>(-1);

// Calls `visit` for every document of the segment that `now` holds and `before` did not.
template <typename Visit>
void forEachRemovedSince(const Segment& segment, const RemovedSet* before, const RemovedSet* now,
                         Visit visit) {
    if (now == nullptr) return;
    for (DocumentID id = segment.firstDocument(); id <= segment.lastDocument(); ++id) {
        if (now->contains(id) && (before == nullptr || !before->contains(id))) visit(id);
    }
}

bool holds(const Segment& segment, DocumentID document) {
    const auto words = segment.wordsOf(document);
    return words && words->has_value();
}

}  // namespace

LiveSegment Contents::Entry::share() {
    isShared = true;
    return {segment, removed};
}

void Contents::Entry::remove(DocumentID document) {
    if (removed == nullptr) {
        removed = std::make_shared<RemovedSet>(segment->firstDocument(), segment->lastDocument());
    } else if (isShared) {
        removed = std::make_shared<RemovedSet>(*removed);
    }
    isShared = false;
    removedPlace = 0;
    removed->insert(document);
}

bool Contents::Entry::isLive(DocumentID document) const {
    return (removed == nullptr || !removed->contains(document)) && holds(*segment, document);
}

Contents::Contents(const Opened& opened)
    : m_nextDocument(opened.nextDocument),
      m_totals(opened.totals),
      m_lastCommit(opened.commit),
      m_chainLength(opened.chainLength),
      m_firstUncommitted(opened.nextDocument),
      m_committedTotals(opened.totals) {
    for (std::size_t i = 0; i < opened.segments.size(); ++i) {
        Entry entry{.segment = opened.segments[i].segment, .removed = nullptr};
        if (opened.segments[i].removed != nullptr) {
            entry.removed = std::make_shared<RemovedSet>(*opened.segments[i].removed);
        }
        entry.removedPlace = opened.removedPlaces[i];
        m_entries.push_back(std::move(entry));
    }
    listSegments();
    for (const auto& document : opened.memory) {
        m_memory.push_back(document);
        m_memoryIDs.push_back(document->id);
        m_memoryByKey.emplace(document->keyHash, document->id);
        m_memoryTextBytes += document->textBytes;
        m_committedMemory.push_back({document->id, document->place});
    }
}

void Contents::listSegments() {
    auto list = std::make_shared<SegmentList>();
    for (const Entry& entry : m_entries) list->push_back(entry.segment);
    m_segmentList = std::move(list);
}

Snapshot Contents::snapshot() {
    return {.segments = segments(),
            .memory = m_memory,
            .documents = m_totals.documents,
            .words = m_totals.words};
}

std::vector<LiveSegment> Contents::segments() {
    std::vector<LiveSegment> result;
    result.reserve(m_entries.size());
    for (Entry& entry : m_entries) result.push_back(entry.share());
    return result;
}

const Contents::Entry* Contents::entryOf(DocumentID document) const {
    const auto entry = std::lower_bound(
        m_entries.begin(), m_entries.end(), document,
        [](const Entry& e, DocumentID id) { return e.segment->lastDocument() < id; });
    return entry != m_entries.end() && entry->segment->covers(document) ? &*entry : nullptr;
}

std::size_t Contents::memoryIndexOf(DocumentID document) const {
    const auto id = std::lower_bound(m_memoryIDs.begin(), m_memoryIDs.end(), document);
    if (id == m_memoryIDs.end() || *id != document) return kNotThere;
    const auto index = static_cast<std::size_t>(id - m_memoryIDs.begin());
    return m_memory[index] == nullptr ? kNotThere : index;
}

std::shared_ptr<const MemoryDocument> Contents::findInMemory(const DocumentKey& key,
                                                             std::uint64_t keyHash) const {
    const auto [begin, end] = m_memoryByKey.equal_range(keyHash);
    for (auto candidate = begin; candidate != end; ++candidate) {
        auto document = findInMemory(candidate->second);
        if (document != nullptr && document->key == key) return document;
    }
    return nullptr;
}

std::shared_ptr<const MemoryDocument> Contents::findInMemory(DocumentID document) const {
    const std::size_t index = memoryIndexOf(document);
    return index == kNotThere ? nullptr : m_memory[index];
}

bool Contents::isLive(DocumentID document) const {
    if (const Entry* entry = entryOf(document)) return entry->isLive(document);
    return memoryIndexOf(document) != kNotThere;
}

bool Contents::isRemoved(DocumentID document) const {
    const Entry* entry = entryOf(document);
    return entry == nullptr || (entry->removed != nullptr && entry->removed->contains(document));
}

DocumentID Contents::nextLive(DocumentID document) const {
    for (const Entry& entry : m_entries) {
        const Segment& segment = *entry.segment;
        for (DocumentID id = std::max(document + 1, segment.firstDocument());
             id <= segment.lastDocument(); ++id) {
            if (entry.isLive(id)) return id;
        }
    }
    auto id = std::upper_bound(m_memoryIDs.begin(), m_memoryIDs.end(), document);
    for (; id != m_memoryIDs.end(); ++id) {
        if (m_memory[static_cast<std::size_t>(id - m_memoryIDs.begin())] != nullptr) return *id;
    }
    return kNoDocument;
}

void Contents::add(std::shared_ptr<const MemoryDocument> document) {
    ++m_totals.documents;
    m_totals.words += document->text->words();
    m_totals.recordBytes += document->recordBytes;
    m_memoryTextBytes += document->textBytes;
    m_memoryByKey.emplace(document->keyHash, document->id);
    m_memoryIDs.push_back(document->id);
    m_nextDocument = document->id + 1;
    m_memory.push_back(std::move(document));
}

void Contents::remove(DocumentID document, std::uint64_t words, std::uint64_t recordBytes) {
    --m_totals.documents;
    m_totals.words -= words;
    m_totals.recordBytes -= recordBytes;
    if (!isPending(document)) m_removedSinceCommit.push_back(document);
    if (const Entry* entry = entryOf(document)) {
        m_entries[static_cast<std::size_t>(entry - m_entries.data())].remove(document);
    } else if (const std::size_t index = memoryIndexOf(document); index != kNotThere) {
        removeFromMemory(index);
    }
}

void Contents::removeFromMemory(std::size_t index) {
    const MemoryDocument& document = *m_memory[index];
    m_memoryTextBytes -= document.textBytes;
    const auto [begin, end] = m_memoryByKey.equal_range(document.keyHash);
    const auto entry = std::find_if(
        begin, end, [&document](const auto& candidate) { return candidate.second == document.id; });
    if (entry != end) m_memoryByKey.erase(entry);
    m_memory[index].reset();
}

MemoryDocuments Contents::liveMemory() const {
    MemoryDocuments live;
    std::copy_if(m_memory.begin(), m_memory.end(), std::back_inserter(live),
                 [](const auto& document) { return document != nullptr; });
    return live;
}

void Contents::replaceMemory(const std::shared_ptr<const Segment>& segment) {
    Entry entry{.segment = segment, .removed = nullptr};
    const auto end =
        std::upper_bound(m_memoryIDs.begin(), m_memoryIDs.end(), segment->lastDocument());
    const auto count = end - m_memoryIDs.begin();
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        if (m_memory[i] != nullptr) {
            removeFromMemory(i);
        } else if (segment->covers(m_memoryIDs[i]) && holds(*segment, m_memoryIDs[i])) {
            entry.remove(m_memoryIDs[i]);
        }
    }
    m_memory.erase(m_memory.begin(), m_memory.begin() + count);
    m_memoryIDs.erase(m_memoryIDs.begin(), end);
    m_entries.push_back(std::move(entry));
    listSegments();
    m_segmentsChanged = true;
}

void Contents::replaceSegments(const std::vector<LiveSegment>& inputs,
                               const std::shared_ptr<const Segment>& merged) {
    const auto first = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& entry) {
        return entry.segment == inputs.front().segment;
    });
    const auto end = first + static_cast<std::ptrdiff_t>(inputs.size());
    Entry entry{.segment = merged, .removed = nullptr};
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const Entry& now = first[static_cast<std::ptrdiff_t>(i)];
        forEachRemovedSince(*now.segment, inputs[i].removed.get(), now.removed.get(),
                            [&](DocumentID id) { entry.remove(id); });
    }
    m_entries.erase(first + (merged == nullptr ? 0 : 1), end);
    if (merged != nullptr) *first = std::move(entry);
    listSegments();
    m_segmentsChanged = true;
}

bool Contents::hasChanges() const {
    return m_segmentsChanged || hasPending() || !m_removedSinceCommit.empty() || m_lastCommit == 0;
}

Commit Contents::makeCommit(std::uint64_t generation, const AppendRecord& appendRecord) {
    const bool isComplete =
        m_segmentsChanged || m_lastCommit == 0 || m_chainLength >= kMaxChainLength;
    Commit commit{.generation = generation,
                  .previous = isComplete ? 0 : m_lastCommit,
                  .nextDocument = m_nextDocument,
                  .documents = m_totals.documents,
                  .words = m_totals.words,
                  .documentBytes = m_totals.recordBytes,
                  .segments = {},
                  .added = {},
                  .removed = {}};
    const DocumentID firstAdded = isComplete ? kFirstDocumentID : m_firstUncommitted;
    m_committedMemory.clear();
    for (const auto& document : m_memory) {
        if (document == nullptr) continue;
        m_committedMemory.push_back({document->id, document->place});
        if (document->id >= firstAdded) commit.added.push_back(m_committedMemory.back());
    }
    if (isComplete) {
        for (Entry& entry : m_entries) {
            if (entry.removed != nullptr && entry.removedPlace == 0) {
                entry.removedPlace =
                    appendRecord(makeRecord(RecordKind::Live, entry.removed->serialize()));
            }
            commit.segments.push_back({entry.segment->place(), entry.removedPlace});
        }
    } else {
        commit.removed = std::move(m_removedSinceCommit);
    }
    m_chainLength = isComplete ? 0 : m_chainLength + 1;
    m_segmentsChanged = false;
    m_firstUncommitted = m_nextDocument;
    m_removedSinceCommit.clear();
    m_committedTotals = m_totals;
    return commit;
}

std::size_t Contents::committedEntries() const {
    return static_cast<std::size_t>(std::count_if(
        m_entries.begin(), m_entries.end(),
        [this](const Entry& entry) { return entry.segment->lastDocument() < m_firstUncommitted; }));
}

std::shared_ptr<const RemovedSet> Contents::committedRemovals(const Entry& entry) const {
    if (entry.removed == nullptr) return nullptr;
    auto removals = std::make_shared<RemovedSet>(*entry.removed);
    for (const DocumentID document : m_removedSinceCommit) {
        if (entry.segment->covers(document)) removals->erase(document);
    }
    return removals;
}

Contents::Committed Contents::committed() const {
    Committed result{.totals = m_committedTotals,
                     .nextDocument = m_firstUncommitted,
                     .segments = {},
                     .memory = m_committedMemory};
    for (std::size_t i = 0; i < committedEntries(); ++i) {
        result.segments.push_back({m_entries[i].segment, committedRemovals(m_entries[i])});
    }
    return result;
}

std::vector<LiveSegment> Contents::uncommittedSegments() {
    std::vector<LiveSegment> result;
    for (std::size_t i = committedEntries(); i < m_entries.size(); ++i) {
        result.push_back(m_entries[i].share());
    }
    return result;
}

// What was removed from a document's old segment is removed from its new one, where that holds it.
void Contents::carryOverRemovals(const std::vector<Entry>& from, std::vector<Entry>& to) const {
    for (const Entry& old : from) {
        forEachRemovedSince(*old.segment, nullptr, old.removed.get(), [&to](DocumentID id) {
            for (Entry& entry : to) {
                if (entry.segment->covers(id) && holds(*entry.segment, id)) entry.remove(id);
            }
        });
    }
}

void Contents::adopt(const Rewritten& rewritten) {
    std::vector<Entry> entries;
    for (const auto* segments : {&rewritten.committed, &rewritten.uncommitted}) {
        for (const auto& segment : *segments) {
            entries.push_back({.segment = segment, .removed = nullptr});
        }
    }
    carryOverRemovals(m_entries, entries);
    m_entries = std::move(entries);
    for (auto& document : m_memory) {
        if (document == nullptr) continue;
        MemoryDocument moved = *document;
        moved.place = rewritten.placeOf(document->id);
        document = std::make_shared<const MemoryDocument>(std::move(moved));
    }
    for (CommittedDocument& document : m_committedMemory) {
        document.place = rewritten.placeOf(document.id);
    }
    m_lastCommit = rewritten.commit;
    m_chainLength = 0;
    m_segmentsChanged = !rewritten.uncommitted.empty();
    listSegments();
}

}  // namespace siftwell::fulltext
