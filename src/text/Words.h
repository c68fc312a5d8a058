// WordScanner: the words of a text, one after another, folded.
//
// A word is a run of letters, marks and digits. Runs in scripts written without blanks are divided
// by ICU's dictionaries. Words are cut to their first 64 bytes (never inside a character).
//
// Threads: one scanner, one thread. It borrows its text, which must outlive it.
// Errors: none; malformed UTF-8 separates words.
// Cost: linear; lower-case ASCII words are views into the text, nothing is copied.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace siftwell {

inline constexpr std::size_t kMaxWordBytes = 64;

class WordScanner {
public:
    explicit WordScanner(std::string_view text) : m_text(text) {}

    // Goes on to the next word; false at the end.
    bool next();

    // The folded word, until the next call. Never empty.
    std::string_view word() const { return m_word; }

    // Bytes of the text that the word was read from.
    std::size_t begin() const { return m_begin; }
    std::size_t end() const { return m_end; }

private:
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
    std::string m_folded;
    std::vector<std::size_t> m_pieceEnds;  // of the divided stretch, last first
};

// The number of characters of a well-formed text.
std::size_t characterCount(std::string_view utf8);

}  // namespace siftwell
