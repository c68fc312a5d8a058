// InvertedText: the terms of one text with their positions, before they stand in a segment.
//
// Threads: immutable once made, and then shared by adders and searches.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace siftwell::fulltext {

class InvertedText {
public:
    std::size_t termCount() const { return m_hashes.size(); }
    std::uint32_t words() const { return m_words; }  // occurrences of all terms

    std::string_view term(std::size_t index) const {
        return view(m_bytes, m_terms[index].bytes, m_terms[index + 1].bytes);
    }
    // seededHash() of the term.
    std::uint64_t hash(std::size_t index) const { return m_hashes[index]; }
    std::uint32_t frequency(std::size_t index) const { return m_terms[index].frequency; }
    // As postings keep them: varint distances.
    std::string_view positions(std::size_t index) const {
        return view(m_positions, m_terms[index].positions, m_terms[index + 1].positions);
    }

    // Looks through all hashes.
    std::optional<std::size_t> find(std::string_view term, std::uint64_t hash) const;

    std::size_t memoryBytes() const;

private:
    friend class Inverter;

    struct Term {
        std::uint32_t bytes = 0;      // where the term begins in m_bytes
        std::uint32_t positions = 0;  // where its positions begin in m_positions
        std::uint32_t frequency = 0;
    };

    static std::string_view view(const std::string& bytes, std::uint32_t begin, std::uint32_t end) {
        return std::string_view(bytes).substr(begin, end - begin);
    }

    std::vector<std::uint64_t> m_hashes;
    std::vector<Term> m_terms;  // one more than hashes, for the ends
    std::string m_bytes;
    std::string m_positions;
    std::uint32_t m_words = 0;
};

}  // namespace siftwell::fulltext
