// WordScanner: the words of a text, one after another, folded.
//
// A word is a run of letters, marks and digits. Runs in scripts written without blanks are divided
// by ICU's dictionaries. Words are cut to their first 64 bytes (never inside a character).
//
// Threads: one scanner, one thread. It borrows its text, which must outlive it.
// Errors: none; malformed UTF-8 separates words.
// Cost: linear; lower-case ASCII words are views into the text, nothing is copied.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "text/ByteClasses.h"

namespace siftwell {

inline constexpr std::size_t kMaxWordBytes = 64;

class WordScanner {
public:
    explicit WordScanner(std::string_view text) : m_text(text) {}

    // Goes on to the next word; false at the end.
    bool next() { return readPlainWord() || readWord(); }

    // The folded word, until the next call. Never empty.
    std::string_view word() const { return m_word; }

    // Whether the word is a part of the text as it stands there.
    bool isPlain() const { return m_word.data() == m_text.data() + m_begin; }

    // Bytes of the text that the word was read from.
    std::size_t begin() const { return m_begin; }
    std::size_t end() const { return m_end; }

private:
    bool readPlainWord();
    bool findPlainWords();
    bool takePlainWords();
    bool readWord();
    bool readAsciiWord();
    bool readRun();
    void readPlainPiece(std::size_t end);
    bool readDividedPiece();
    void divide(std::size_t end);

    std::string_view m_text;
    std::string_view m_word;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_position = 0;  // where reading goes on
    std::size_t m_runEnd = 0;    // of the run of word characters that is being read
    bool m_isInRun = false;      // between the pieces of a run
    // Of the bytes from m_block on, which were looked at together: one bit for each.
    std::size_t m_block = 0;
    std::uint64_t m_begins = 0;     // of plain words, or of plain bytes within others
    std::uint64_t m_ends = 0;       // separators behind them
    std::uint64_t m_special = 0;    // what needs a closer look
    std::uint64_t m_plainEnds = 0;  // of the words that are read next
    std::string m_folded;
    std::vector<std::size_t> m_pieceEnds;  // of the divided stretch, last first
};

// The short way of most words: plain ones between two separators. False, with none read, for any
// other.
inline bool WordScanner::readPlainWord() {
    if (m_plainEnds == 0 && !findPlainWords()) return false;
    m_begin = m_block + static_cast<std::size_t>(std::countr_zero(m_begins));
    m_end = m_block + static_cast<std::size_t>(std::countr_zero(m_plainEnds));
    m_begins &= m_begins - 1;
    m_plainEnds &= m_plainEnds - 1;
    m_word = {m_text.data() + m_begin, m_end - m_begin};
    return true;
}

// Those of the block that come next, or of the next block.
inline bool WordScanner::findPlainWords() {
    if (m_isInRun) return false;
    const std::size_t read = m_position - m_block;
    if (m_special != 0 && read < ByteClasses::kBytes) {
        const std::uint64_t unread = ~std::uint64_t{0} << read;
        m_begins &= unread;
        m_ends &= unread << 1;  // the first is that of the last word
        m_special &= unread;
        if (takePlainWords()) return true;
        if (m_special != 0) return false;
    }
    if (m_text.size() - m_position < ByteClasses::kBytes) return false;
    const auto [plain, special] = ByteClasses::of(m_text.data() + m_position);
    m_block = m_position;
    m_begins = plain & ~(plain << 1);
    m_ends = ~plain & (plain << 1) & ~special;
    m_special = special;
    return takePlainWords();
}

// Up to the first byte that needs a closer look.
inline bool WordScanner::takePlainWords() {
    m_plainEnds = m_ends & (m_special - 1);
    m_ends ^= m_plainEnds;
    if (m_plainEnds == 0) return false;
    m_position = m_block + static_cast<std::size_t>(std::bit_width(m_plainEnds)) - 1;
    return true;
}

// The number of characters of a well-formed text.
std::size_t characterCount(std::string_view utf8);

}  // namespace siftwell
