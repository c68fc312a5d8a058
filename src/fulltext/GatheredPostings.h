// GatheredPostings: in which documents of a segment any of several terms occurs, and how often all
// of them together; and the matchers that walk them.
//
// Threads and errors as for every matcher.
#pragma once

#include <memory>
#include <vector>

#include "fulltext/Matcher.h"

namespace siftwell::fulltext {

// When there are many, one count for every document of the segment; else the documents that have
// any, with their counts.
struct GatheredPostings {
    std::uint64_t size = 0;                  // documents with a count
    DocumentID first = 0;                    // of the segment
    std::vector<std::uint32_t> counts;       // by document - first
    std::vector<DocumentID> documents;       // rising
    std::vector<std::uint32_t> frequencies;  // of each of them
};

// `lengths` answers a document's length. The postings are borrowed.
std::unique_ptr<Matcher> makeGatheredMatcher(const GatheredPostings& postings,
                                             const PostingList& lengths, float weight,
                                             const Bm25& bm25);

}  // namespace siftwell::fulltext
