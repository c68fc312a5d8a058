// Survey: what can still be read of an index file, whatever is damaged in it.
//
// The newest commit that can be read to its base tells which documents are alive. Where it is
// damaged, or a segment is, the removals that other commits and lists in the file name tell which
// are not. Nothing may be left that tells of a document that was removed long ago: then its fate is
// unknown.
//
// Threads: one at a time. The file is not changed.
// Memory: 32 bytes for each whole document record, beside the file itself, which is mapped.
// Time: linear in the size of the file.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "fulltext/Commit.h"
#include "fulltext/Findings.h"
#include "fulltext/Header.h"
#include "fulltext/RemovedSet.h"
#include "fulltext/Segment.h"

namespace siftwell::fulltext {

enum class Fate {
    Alive,
    Unknown,  // nothing that can be read tells
    Removed,  // or replaced
    Stale,    // never was part of the index, or is no more: a writer was killed before it committed
};

// A whole record.
struct FoundDocument {
    DocumentID id = 0;
    bool isRemoved = false;    // a commit or a list says so
    bool isUncertain = false;  // for who has to decide
    RecordPlace place;
    std::uint64_t keyHash = 0;
};

class Survey {
public:
    static Result<Survey> make(std::shared_ptr<const StorageFile> file, const PaceCallback& pace);

    const Findings& findings() const { return m_findings; }
    // Not everything could be looked at: too much looked like records and was none.
    bool isLimited() const { return m_isLimited; }

    std::string_view bytes() const {
        return m_mapping == nullptr ? std::string_view() : m_mapping->bytes();
    }
    const std::optional<FileIdentity>& identity() const { return m_identity; }
    const std::optional<IndexSettings>& settings() const { return m_settings; }
    std::uint64_t highestGeneration() const { return m_highestGeneration; }
    // Above every number that was given out, as far as the file tells, when all below `next` were.
    DocumentID nextFrom(DocumentID next) const;

    // By number, then by place.
    const std::vector<FoundDocument>& documents() const { return m_documents; }
    Fate fateOf(const FoundDocument& document) const;

    // Documents that are alive, or may be, without a whole record.
    std::uint64_t lostDocuments() const { return m_lost; }

private:
    // Documents from `first` to `last` stand in it, and no others.
    struct KnownSegment {
        DocumentID first = 0;
        DocumentID last = 0;
        std::shared_ptr<const Segment> segment;  // null when it cannot be read
        std::shared_ptr<const RemovedSet> removed;
        bool areRemovalsKnown = true;
    };

    struct FoundCommit {
        std::uint64_t offset = 0;
        std::uint64_t generation = 0;
        std::uint64_t previous = 0;
    };

    explicit Survey(std::shared_ptr<const StorageFile> file) : m_file(std::move(file)) {}

    Status readHeaderPage();
    void scan(const PaceCallback& pace);
    void noteDocument(RecordPlace place);
    void noteCommit(RecordPlace place);
    const FoundCommit* commitAt(std::uint64_t offset) const;
    void findState();
    bool readState(std::uint64_t commit);
    bool takeState(const std::vector<std::uint64_t>& chain);
    void readSettingsRecord();
    void readSegments(const Commit& base);
    void readSegment(const std::shared_ptr<const Segment>& segment, std::uint64_t removals);
    void readRemovals(std::uint64_t offset, KnownSegment& known);
    void boundUnreadableSegments();
    void noteRemovals();
    void noteRemoved(DocumentID id);
    void findLost();
    void findLostOf(const KnownSegment& known);
    bool isWhole(DocumentID id, std::uint64_t place) const;
    void addLost(std::uint64_t place, DocumentID id);
    Fate fateInState(DocumentID id, std::uint64_t place) const;
    Fate fateIn(const KnownSegment& known, DocumentID id, std::uint64_t place) const;

    std::shared_ptr<const StorageFile> m_file;
    std::unique_ptr<Mapping> m_mapping;
    Findings m_findings;
    bool m_isLimited = false;

    std::optional<FileIdentity> m_identity;
    std::optional<IndexSettings> m_settings;
    std::uint64_t m_settingsPlace = 0;
    std::uint64_t m_highestGeneration = 0;
    std::vector<Root> m_roots;          // the whole ones, newest first
    bool m_areRootsSuspicious = false;  // a newer one may have been here
    bool m_hasEmptySlot = false;        // never written, or overwritten with zero bytes
    DocumentID m_next = kFirstDocumentID;

    std::vector<FoundDocument> m_documents;
    std::vector<FoundCommit> m_commits;  // rising
    std::vector<std::uint64_t> m_lists;  // of removals
    std::vector<std::uint64_t> m_damagedDocuments;
    std::set<std::uint64_t> m_brokenCommits;  // whose chain does not lead to a base

    std::uint64_t m_lastGap = 0;  // where something else than a whole record lies

    bool m_hasState = false;
    bool m_isNewest = false;           // nothing newer can have been here
    std::uint64_t m_end = UINT64_MAX;  // what was committed lies below
    DocumentID m_stateNext = kFirstDocumentID;
    std::vector<KnownSegment> m_segments;
    std::vector<CommittedDocument> m_added;  // in no segment; rising
    std::vector<DocumentID> m_removed;       // from segments since the base; sorted
    std::uint64_t m_lost = 0;
};

}  // namespace siftwell::fulltext
