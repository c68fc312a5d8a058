// Contents: what an index holds, in memory: its segments, the documents that stand in none, and
// what changed since the last commit.
//
// Threads: guarded by the mutex of its index. Snapshots share immutable parts and stay as they are.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

#include "fulltext/Commit.h"
#include "fulltext/MemoryDocument.h"
#include "fulltext/SegmentMerger.h"

namespace siftwell::fulltext {

// What a search sees: every document that was added before it began.
struct Snapshot {
    std::vector<LiveSegment> segments;
    MemoryDocuments memory;
    std::uint64_t documents = 0;  // live
    std::uint64_t words = 0;      // of the live documents
};

// How many documents there are and what they take.
struct Totals {
    std::uint64_t documents = 0;
    std::uint64_t words = 0;
    std::uint64_t recordBytes = 0;
};

class Contents {
public:
    // As the file says; documents of no segment are in `memory`.
    struct Opened {
        Totals totals;
        DocumentID nextDocument = kFirstDocumentID;
        std::vector<LiveSegment> segments;
        std::vector<std::uint64_t> removedPlaces;  // of each segment's live record, 0 when changed
        MemoryDocuments memory;
        std::uint64_t commit = 0;     // offset of the last commit, 0 before the first one
        std::size_t chainLength = 0;  // commits behind the last complete one
    };
    explicit Contents(const Opened& opened);

    Snapshot snapshot();
    std::vector<LiveSegment> segments();
    // The segments alone; another list whenever segments come or go.
    using SegmentList = std::vector<std::shared_ptr<const Segment>>;
    const std::shared_ptr<const SegmentList>& segmentList() const { return m_segmentList; }
    DocumentID nextDocument() const { return m_nextDocument; }
    const Totals& totals() const { return m_totals; }

    std::shared_ptr<const MemoryDocument> findInMemory(const DocumentKey& key,
                                                       std::uint64_t keyHash) const;
    std::shared_ptr<const MemoryDocument> findInMemory(DocumentID document) const;
    bool isPending(DocumentID document) const { return document >= m_firstUncommitted; }
    bool isLive(DocumentID document) const;
    // Whether a document that a segment held was removed from it. Reads nothing but memory.
    bool isRemoved(DocumentID document) const;
    // The first live document behind `document`, or kNoDocument.
    DocumentID nextLive(DocumentID document) const;

    // The document bears the next number, or a higher one.
    void add(std::shared_ptr<const MemoryDocument> document);

    // Numbers below `next` that were not given out never will be. The next document may bear any
    // number from there on.
    void skipTo(DocumentID next) { m_nextDocument = std::max(m_nextDocument, next); }

    // The document is live; `words` and `recordBytes` are its own.
    void remove(DocumentID document, std::uint64_t words, std::uint64_t recordBytes);

    MemoryDocuments liveMemory() const;
    std::size_t memoryTextBytes() const { return m_memoryTextBytes; }

    // The segment takes the place of the documents in memory up to its last one. What was removed
    // of them meanwhile is removed from it.
    void replaceMemory(const std::shared_ptr<const Segment>& segment);

    // The merged segment (null when no document was left) takes the place of `inputs`, which stand
    // side by side. What was removed from them meanwhile is removed from it.
    void replaceSegments(const std::vector<LiveSegment>& inputs,
                         const std::shared_ptr<const Segment>& merged);

    bool hasChanges() const;
    // Documents were added since the last commit.
    bool hasPending() const { return m_nextDocument != m_firstUncommitted; }

    // A commit of what is here now. `appendRecord` stores a record and answers its offset. From
    // then on everything counts as committed; `setCommitPlace` says where the commit stands.
    using AppendRecord = std::function<std::uint64_t(const std::string& record)>;
    Commit makeCommit(std::uint64_t generation, const AppendRecord& appendRecord);
    void setCommitPlace(std::uint64_t offset) { m_lastCommit = offset; }

    // What the last commit says, whatever came since. All that it lists in segments is in
    // `segments` with what it removed; these segments hold nothing that came later.
    struct Committed {
        Totals totals;
        DocumentID nextDocument = kFirstDocumentID;
        std::vector<LiveSegment> segments;
        std::vector<CommittedDocument> memory;
    };
    Committed committed() const;
    // The segments with documents that came since.
    std::vector<LiveSegment> uncommittedSegments();

    // Everything was written anew into another file, where the last commit stands at `commit`.
    struct Rewritten {
        std::vector<std::shared_ptr<const Segment>> committed;  // for all of committed().segments
        std::vector<std::shared_ptr<const Segment>>
            uncommitted;                                   // for each of uncommittedSegments()
        std::function<std::uint64_t(DocumentID)> placeOf;  // of the documents in memory
        std::uint64_t commit = 0;
    };
    void adopt(const Rewritten& rewritten);

private:
    struct Entry {
        std::shared_ptr<const Segment> segment;
        std::shared_ptr<RemovedSet> removed;  // null when nothing was
        bool isShared = false;                // a snapshot holds `removed`: change a copy
        std::uint64_t removedPlace = 0;       // of its record, when it did not change since

        LiveSegment share();
        void remove(DocumentID document);
        bool isLive(DocumentID document) const;
    };

    const Entry* entryOf(DocumentID document) const;
    std::size_t committedEntries() const;
    std::shared_ptr<const RemovedSet> committedRemovals(const Entry& entry) const;
    std::size_t memoryIndexOf(DocumentID document) const;
    void removeFromMemory(std::size_t index);
    void listSegments();
    void carryOverRemovals(const std::vector<Entry>& from, std::vector<Entry>& to) const;

    std::vector<Entry> m_entries;         // in the order of their ranges
    MemoryDocuments m_memory;             // null where one was removed
    std::vector<DocumentID> m_memoryIDs;  // of m_memory
    std::unordered_multimap<std::uint64_t, DocumentID> m_memoryByKey;
    std::size_t m_memoryTextBytes = 0;
    std::shared_ptr<const SegmentList> m_segmentList;
    DocumentID m_nextDocument;
    Totals m_totals;

    // As of the last commit.
    std::uint64_t m_lastCommit;  // its offset, 0 before the first one
    std::size_t m_chainLength;   // commits behind the last complete one
    DocumentID m_firstUncommitted;
    Totals m_committedTotals;
    std::vector<CommittedDocument> m_committedMemory;
    bool m_segmentsChanged = false;                // since then
    std::vector<DocumentID> m_removedSinceCommit;  // of those that were committed
};

}  // namespace siftwell::fulltext
