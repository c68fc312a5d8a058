// Inverter turns a text into its terms and their positions.
//
// Every word takes a position, also one that is not indexed (a stop word or one that is too short),
// so that words which were not neighbours do not become so.
//
// Threads: one inverter, one thread at a time; it keeps its memory from text to text.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "fulltext/ByteBuffer.h"
#include "fulltext/InvertedText.h"
#include "fulltext/TermTables.h"

namespace siftwell::fulltext {

class Inverter {
public:
    // The terms are those of one of the tables.
    InvertedText invert(std::string_view text, TermTables& tables);

private:
    // A word of the text.
    struct Entry {
        TermTable::Slot slot;
        std::uint32_t frequency;
        std::uint32_t nextPosition;  // where its next position goes in m_positions
        bool isTerm;
    };

    bool scan(std::string_view text, TermTable& table, const TermFilter& filter);
    bool addWords(std::span<const WordKey> keys, TermTable& table, const TermFilter& filter);
    void sortPositions();
    InvertedText gather(std::shared_ptr<const TermTable> table);
    void encodePositions(const Entry& entry);

    std::span<Entry> entriesOfText() { return {m_entries.data(), m_entryCount}; }

    // Numbers that are not initialized until they are written.
    class Numbers {
    public:
        // The first `kept` of them stay.
        void makeRoom(std::size_t count, std::size_t kept);
        std::uint32_t* get() const { return m_numbers.get(); }
        std::size_t capacity() const { return m_capacity; }

    private:
        std::unique_ptr<std::uint32_t[]> m_numbers;
        std::size_t m_capacity = 0;
    };

    std::uint32_t m_textNumber = 0;  // in the table
    std::vector<Entry> m_entries;    // the first m_entryCount are those of the text
    std::uint32_t m_entryCount = 0;
    std::size_t m_words = 0;  // of the text
    Numbers m_sequence;       // entry of each of them
    Numbers m_positions;      // of the first entry, then of the second, and so on
    ByteBuffer m_encoded;
};

}  // namespace siftwell::fulltext
