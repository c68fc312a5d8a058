#include "fulltext/InvertedText.h"

#include <algorithm>

namespace siftwell::fulltext {

std::optional<std::size_t> InvertedText::find(const WordKey& word) const {
    const auto slot = m_table->find(word);
    if (!slot) return std::nullopt;
    const auto all = slots();
    const auto found = std::find(all.begin(), all.end(), *slot);
    if (found == all.end()) return std::nullopt;
    return static_cast<std::size_t>(found - all.begin());
}

std::size_t InvertedText::memoryBytes() const {
    return sizeof *this + m_numbers.capacity() * sizeof m_numbers[0] + m_positions.capacity();
}

}  // namespace siftwell::fulltext
