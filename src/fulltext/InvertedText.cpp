#include "fulltext/InvertedText.h"

#include <algorithm>

namespace siftwell::fulltext {

std::optional<std::size_t> InvertedText::find(std::string_view term, std::uint64_t hash) const {
    for (auto found = std::find(m_hashes.begin(), m_hashes.end(), hash); found != m_hashes.end();
         found = std::find(found + 1, m_hashes.end(), hash)) {
        const auto index = static_cast<std::size_t>(found - m_hashes.begin());
        if (this->term(index) == term) return index;
    }
    return std::nullopt;
}

std::size_t InvertedText::memoryBytes() const {
    return sizeof *this + m_hashes.capacity() * sizeof(std::uint64_t) +
           m_terms.capacity() * sizeof(Term) + m_bytes.capacity() + m_positions.capacity();
}

}  // namespace siftwell::fulltext
