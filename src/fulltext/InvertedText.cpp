#include "fulltext/InvertedText.h"

#include <algorithm>

namespace siftwell::fulltext {

std::optional<std::size_t> InvertedText::find(const WordKey& word) const {
    const auto slot = m_table->find(word);
    if (!slot) return std::nullopt;
    const auto found = std::find(m_slots.begin(), m_slots.end(), *slot);
    if (found == m_slots.end()) return std::nullopt;
    return static_cast<std::size_t>(found - m_slots.begin());
}

std::size_t InvertedText::memoryBytes() const {
    return sizeof *this + m_slots.capacity() * sizeof(TermTable::Slot) +
           m_places.capacity() * sizeof(Place) + m_positions.capacity();
}

}  // namespace siftwell::fulltext
