// RemovedSet: which documents of a segment were removed after it was written.
//
// Threads: a value; shared ones are immutable and replaced by changed copies.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fulltext/Types.h"

namespace siftwell::fulltext {

class RemovedSet {
public:
    RemovedSet(DocumentID first, DocumentID last)
        : m_first(first), m_last(last), m_words(wordCount(first, last)) {}

    bool contains(DocumentID document) const {
        const DocumentID bit = document - m_first;
        return (m_words[bit / 64] >> (bit % 64) & 1) != 0;
    }
    bool containsAnyOf(DocumentID first, DocumentID last) const;
    std::uint32_t size() const { return m_size; }

    // False when it was in already. The document lies between first and last.
    bool insert(DocumentID document);
    void erase(DocumentID document);

    // Payload of a live record: u32 first, u32 last, then one bit per number, set when removed.
    std::string serialize() const;
    static std::optional<RemovedSet> parse(std::string_view payload);

    DocumentID first() const { return m_first; }
    DocumentID last() const { return m_last; }

private:
    static std::size_t wordCount(DocumentID first, DocumentID last) {
        return std::size_t{last - first} / 64 + 1;
    }

    DocumentID m_first;
    DocumentID m_last;
    std::uint32_t m_size = 0;
    std::vector<std::uint64_t> m_words;
};

}  // namespace siftwell::fulltext
