// InvertedText: the terms of one text with their positions, before they stand in a segment.
//
// Threads: immutable once made, and then shared by adders and searches.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fulltext/ByteBuffer.h"
#include "fulltext/TermTable.h"

namespace siftwell::fulltext {

class InvertedText {
public:
    std::size_t termCount() const { return m_slots.size(); }
    std::uint32_t words() const { return m_words; }  // occurrences of all terms

    const TermTable& table() const { return *m_table; }
    // The terms, each once, in the order in which they first occur.
    const std::vector<TermTable::Slot>& slots() const { return m_slots; }

    std::string_view term(std::size_t index) const { return m_table->word(m_slots[index]); }
    std::uint32_t frequency(std::size_t index) const { return m_places[index].frequency; }
    // As postings keep them: varint distances. kReadSlack bytes behind them can be read.
    std::string_view positions(std::size_t index) const {
        const std::uint32_t begin = m_places[index].positions;
        return {m_positions.data() + begin, m_places[index + 1].positions - begin};
    }

    // Where the positions of all terms begin.
    const char* positions() const { return m_positions.data(); }

    // Looks through all terms.
    std::optional<std::size_t> find(const WordKey& word) const;

    std::size_t memoryBytes() const;

private:
    friend class Inverter;

    struct Place {
        std::uint32_t positions = 0;  // where its positions begin in m_positions
        std::uint32_t frequency = 0;
    };

    std::shared_ptr<const TermTable> m_table;
    std::vector<TermTable::Slot> m_slots;
    std::vector<Place> m_places;    // one more than slots, for the ends
    std::vector<char> m_positions;  // and the slack
    std::uint32_t m_words = 0;
};

}  // namespace siftwell::fulltext
