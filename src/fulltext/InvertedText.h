// InvertedText: the terms of one text with their positions, before they stand in a segment.
//
// Threads: immutable once made, and then shared by adders and searches.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fulltext/ByteBuffer.h"
#include "fulltext/TermTable.h"

namespace siftwell::fulltext {

class InvertedText {
public:
    std::size_t termCount() const { return m_terms; }
    std::uint32_t words() const { return m_words; }  // occurrences of all terms

    const TermTable& table() const { return *m_table; }
    // The terms, each once, in the order in which they first occur.
    std::span<const TermTable::Slot> slots() const { return {m_numbers.data(), m_terms}; }

    std::string_view term(std::size_t index) const { return m_table->word(m_numbers[index]); }
    std::uint32_t frequency(std::size_t index) const { return m_numbers[m_terms + index]; }
    // As postings keep them: varint distances. kReadSlack bytes behind them can be read.
    std::string_view positions(std::size_t index) const {
        const std::uint32_t* const begin = &m_numbers[2 * m_terms + index];
        return {m_positions.data() + begin[0], begin[1] - begin[0]};
    }

    // Where the positions of all terms begin.
    const char* positions() const { return m_positions.data(); }

    // Looks through all terms.
    std::optional<std::size_t> find(const WordKey& word) const;

    std::size_t memoryBytes() const;

private:
    friend class Inverter;

    std::shared_ptr<const TermTable> m_table;
    std::size_t m_terms = 0;
    // Of all terms, one after another: the slots, the frequencies, and where the positions begin in
    // m_positions; then where the last ones end.
    std::vector<std::uint32_t> m_numbers;
    std::vector<char> m_positions;  // and the slack
    std::uint32_t m_words = 0;
};

}  // namespace siftwell::fulltext
