// FragmentGatherer counts the terms that a fragment stands for as one: in which documents of a
// segment any of them occurs, and how often all of them together.
//
// Threads: one at a time. Errors: Damaged when the postings are.
// Memory: four bytes for every document of the segment, or eight for every posting when there are
// few.
#pragma once

#include <vector>

#include "base/Status.h"
#include "fulltext/Deadline.h"
#include "fulltext/GatheredPostings.h"
#include "fulltext/Segment.h"

namespace siftwell::fulltext {

class FragmentGatherer {
public:
    // Both outlive the gatherer.
    FragmentGatherer(const Segment& segment, const std::vector<TermNumber>& terms);

    // Goes on until everything is gathered or the time is over; whether it is done.
    Result<bool> run(const Deadline& deadline);

    // Once it is done.
    GatheredPostings take();

private:
    Status chooseMethod();
    Status addTerm(TermNumber term);
    void count(PostingIterator& postings);
    void enlist(PostingIterator& postings);
    void takeListed();

    const Segment& m_segment;
    const std::vector<TermNumber>& m_terms;
    std::size_t m_next = 0;  // term
    bool m_isCounting = false;
    GatheredPostings m_gathered;
    std::vector<std::uint64_t> m_listed;  // document in the high half, frequency in the low one
};

}  // namespace siftwell::fulltext
