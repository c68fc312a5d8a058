#include "fulltext/FragmentGatherer.h"

#include <algorithm>

#include "base/Translate.h"

namespace siftwell::fulltext {

namespace {

constexpr std::size_t kTermsBetweenLooks = 64;
// With fewer postings than a thirty-second of the documents, sorting them is cheaper.
constexpr std::uint64_t kSparse = 32;

}  // namespace

FragmentGatherer::FragmentGatherer(const Segment& segment, const std::vector<TermNumber>& terms)
    : m_segment(segment), m_terms(terms) {}

Result<bool> FragmentGatherer::run(const Deadline& deadline) {
    if (m_next == 0) {
        if (Status status = chooseMethod(); !status.isOk()) return status;
    }
    for (; m_next < m_terms.size(); ++m_next) {
        if (m_next % kTermsBetweenLooks == kTermsBetweenLooks - 1 && deadline.isOver())
            return false;
        if (Status status = addTerm(m_terms[m_next]); !status.isOk()) return status;
    }
    return true;
}

Status FragmentGatherer::chooseMethod() {
    std::uint64_t postings = 0;
    for (const TermNumber term : m_terms) {
        const auto entry = m_segment.terms().entry(term);
        if (!entry) return {StatusCode::Damaged, _("The terms of the index are damaged.")};
        postings += entry->documentFrequency;
    }
    const std::size_t span = m_segment.lastDocument() - m_segment.firstDocument() + 1;
    m_isCounting = postings > span / kSparse;
    m_gathered.first = m_segment.firstDocument();
    if (m_isCounting) m_gathered.counts.assign(span, 0);
    return {};
}

Status FragmentGatherer::addTerm(TermNumber term) {
    const Result<PostingList> list = m_segment.postings(term);
    if (!list) return list.status();
    PostingIterator iterator(*list);
    if (m_isCounting) {
        count(iterator);
    } else {
        enlist(iterator);
    }
    if (iterator.isDamaged()) {
        return {StatusCode::Damaged, _("The postings of the index are damaged.")};
    }
    return {};
}

void FragmentGatherer::count(PostingIterator& postings) {
    for (; postings.document() != kNoDocument; postings.next()) {
        std::uint32_t& counted = m_gathered.counts[postings.document() - m_gathered.first];
        m_gathered.size += counted == 0 ? 1 : 0;
        counted += postings.frequency();
    }
}

void FragmentGatherer::enlist(PostingIterator& postings) {
    for (; postings.document() != kNoDocument; postings.next()) {
        m_listed.push_back(std::uint64_t{postings.document()} << 32 | postings.frequency());
    }
}

GatheredPostings FragmentGatherer::take() {
    if (!m_isCounting) takeListed();
    return std::move(m_gathered);
}

void FragmentGatherer::takeListed() {
    std::sort(m_listed.begin(), m_listed.end());
    for (const std::uint64_t entry : m_listed) {
        const auto document = static_cast<DocumentID>(entry >> 32);
        const auto frequency = static_cast<std::uint32_t>(entry);
        if (!m_gathered.documents.empty() && m_gathered.documents.back() == document) {
            m_gathered.frequencies.back() += frequency;
        } else {
            m_gathered.documents.push_back(document);
            m_gathered.frequencies.push_back(frequency);
        }
    }
    m_gathered.size = m_gathered.documents.size();
}

}  // namespace siftwell::fulltext
