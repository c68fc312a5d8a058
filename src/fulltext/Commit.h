// Commits: what an index file holds at a moment.
//
// A complete commit lists everything: the segments, what was removed from each, and the documents
// that stand in none. A following one says only what came since, so that it costs what was added,
// however large the index is. Going back from the newest commit, the first complete one is the
// base.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Status.h"
#include "fulltext/Record.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

struct CommittedSegment {
    RecordPlace place;
    std::uint64_t removed = 0;  // offset of its live record, 0 when nothing was removed
};

struct CommittedDocument {
    DocumentID id = 0;
    std::uint64_t place = 0;
};

struct Commit {
    std::uint64_t generation = 0;
    std::uint64_t previous = 0;  // offset of the commit before, 0 for a complete one
    DocumentID nextDocument = kFirstDocumentID;
    std::uint64_t documents = 0;             // live
    std::uint64_t words = 0;                 // of the live documents
    std::uint64_t documentBytes = 0;         // of the live documents' records
    std::vector<CommittedSegment> segments;  // complete commits only; their ranges rise
    std::vector<CommittedDocument> added;    // in no segment, rising; since `previous`, or all
    std::vector<DocumentID> removed;         // since `previous`

    bool isComplete() const { return previous == 0; }
};

std::string serializeCommit(const Commit& commit);
Result<Commit> readCommit(const StorageFile& file, std::uint64_t offset);

}  // namespace siftwell::fulltext
