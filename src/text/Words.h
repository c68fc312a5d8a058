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
    ByteClasses m_classes;       // of the bytes from m_classesAt on
    std::size_t m_classesAt = static_cast<std::size_t>(-1) - ByteClasses::kBytes;  // none yet
    std::string m_folded;
    std::vector<std::size_t> m_pieceEnds;  // of the divided stretch, last first
};

// The short way of most words: plain ones between two separators. False, with nothing changed, for
// any other.
inline bool WordScanner::readPlainWord() {
    constexpr std::size_t kOldest = ByteClasses::kBytes / 2;
    if (m_isInRun) return false;
    if (m_position - m_classesAt >= kOldest) {
        if (m_text.size() - m_position < ByteClasses::kBytes) return false;
        m_classesAt = m_position;
        m_classes = ByteClasses::of(m_text.data() + m_position);
    }
    const std::size_t from = m_position - m_classesAt;
    const std::uint64_t plain = m_classes.plain >> from;
    const auto blanks = static_cast<std::size_t>(std::countr_zero(plain));
    if (plain == 0) return false;
    const auto size = static_cast<std::size_t>(std::countr_one(plain >> blanks));
    const std::size_t end = from + blanks + size;  // whose byte must be known
    if (end >= ByteClasses::kBytes) return false;
    if ((m_classes.special >> from << (ByteClasses::kBytes - 1 - blanks - size)) != 0) return false;
    m_begin = m_position + blanks;
    m_position = m_end = m_begin + size;
    m_word = m_text.substr(m_begin, size);
    return true;
}

// The number of characters of a well-formed text.
std::size_t characterCount(std::string_view utf8);

}  // namespace siftwell
