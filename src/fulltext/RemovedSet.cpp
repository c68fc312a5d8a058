#include "fulltext/RemovedSet.h"

#include <bit>

#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

bool RemovedSet::containsAnyOf(DocumentID first, DocumentID last) const {
    const DocumentID begin = first - m_first;
    const DocumentID end = last - m_first;
    for (DocumentID word = begin / 64; word <= end / 64; ++word) {
        std::uint64_t bits = m_words[word];
        if (word == begin / 64) bits &= ~std::uint64_t{0} << (begin % 64);
        if (word == end / 64) bits &= ~std::uint64_t{0} >> (63 - end % 64);
        if (bits != 0) return true;
    }
    return false;
}

bool RemovedSet::insert(DocumentID document) {
    if (contains(document)) return false;
    const DocumentID bit = document - m_first;
    m_words[bit / 64] |= std::uint64_t{1} << (bit % 64);
    ++m_size;
    return true;
}

void RemovedSet::erase(DocumentID document) {
    if (!contains(document)) return;
    const DocumentID bit = document - m_first;
    m_words[bit / 64] &= ~(std::uint64_t{1} << (bit % 64));
    --m_size;
}

std::string RemovedSet::serialize() const {
    std::string payload;
    appendNumber(payload, m_first);
    appendNumber(payload, m_last);
    for (const std::uint64_t word : m_words) appendNumber(payload, word);
    return payload;
}

std::optional<RemovedSet> RemovedSet::parse(std::string_view payload) {
    ByteReader reader(payload);
    const auto first = reader.number<DocumentID>();
    const auto last = reader.number<DocumentID>();
    if (!reader.isOk() || last < first || last > kLastDocumentID ||
        reader.remaining() != wordCount(first, last) * sizeof(std::uint64_t)) {
        return std::nullopt;
    }
    RemovedSet set(first, last);
    for (std::uint64_t& word : set.m_words) {
        word = reader.number<std::uint64_t>();
        set.m_size += static_cast<std::uint32_t>(std::popcount(word));
    }
    const std::uint64_t behindLast = ~std::uint64_t{1} << ((last - first) % 64);
    if ((set.m_words.back() & behindLast) != 0) return std::nullopt;
    return set;
}

}  // namespace siftwell::fulltext
