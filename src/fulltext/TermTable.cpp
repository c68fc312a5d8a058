#include "fulltext/TermTable.h"

namespace siftwell::fulltext {

TermTable::TermTable(std::size_t slots)
    : m_mask(slots - 1),
      m_terms(new Term[slots]),
      m_longBytes(new char[slots * kLongBytesPerSlot]) {}

// A fifth of the slots stays free, so that a search for a word ends soon.
bool TermTable::insert(Slot slot, const WordKey& key, const TermFilter& filter) {
    const bool isFull = m_wordCount * 5 >= slots() * 4 ||
                        m_longSize + key.word.size() > slots() * kLongBytesPerSlot;
    if (isFull) return false;
    Term& term = m_terms[slot];
    term.head = key.head;
    term.isTerm = filter.isTerm(key.word);
    if (!key.isWhole()) {
        term.longAt = static_cast<std::uint32_t>(m_longSize);
        m_longSize += key.word.copy(&m_longBytes[m_longSize], key.word.size());
    }
    ++m_wordCount;
    term.size.store(static_cast<std::uint16_t>(key.word.size()), std::memory_order_release);
    return true;
}

}  // namespace siftwell::fulltext
