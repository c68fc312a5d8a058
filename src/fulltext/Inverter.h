// Inverter turns a text into its terms and their positions.
//
// Every word takes a position, also one that is not indexed (a stop word or one that is too short),
// so that words which were not neighbours do not become so.
//
// Threads: one inverter, one thread at a time; it keeps its tables from text to text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "fulltext/InvertedText.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

// Which words are terms.
class TermFilter {
public:
    explicit TermFilter(const IndexSettings& settings);

    bool isTerm(std::string_view foldedWord) const;

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>()(text);
        }
    };

    std::uint32_t m_minimumLength;
    std::unordered_set<std::string, Hash, std::equal_to<>> m_stopWords;  // folded
};

class Inverter {
public:
    InvertedText invert(std::string_view text, const TermFilter& filter);

private:
    struct Entry {
        std::uint64_t hash;
        std::uint32_t bytes;  // offset in m_bytes
        std::uint32_t size;
        std::uint32_t frequency;
        std::uint32_t nextPosition;  // where its next position goes in m_positions
        bool isTerm;
    };

    void clear();
    std::uint32_t entryOf(std::string_view word, const TermFilter& filter);
    std::uint32_t addEntry(std::string_view word, std::uint64_t hash, const TermFilter& filter);
    void growTable();
    std::uint32_t* slotOf(std::string_view word, std::uint64_t hash);
    void sortPositions();
    void appendPositions(std::string& bytes, const Entry& entry) const;
    void appendTerms(InvertedText& result);

    std::vector<std::uint32_t> m_slots;  // 1 + number of an entry, 0 when free
    std::vector<Entry> m_entries;
    std::string m_bytes;
    std::vector<std::uint32_t> m_sequence;   // entry of each word of the text
    std::vector<std::uint32_t> m_positions;  // of the first entry, then of the second, and so on
};

}  // namespace siftwell::fulltext
