#include "text/Words.h"

#include <algorithm>
#include <array>

#include "text/Characters.h"
#include "text/Folding.h"
#include "text/Segmentation.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

// No word is that long; of a longer one, only so much is folded, and a longer stretch without
// blanks is divided in parts of that size, so that a hostile page does not fill the memory.
constexpr std::size_t kMaxPieceBytes = 1024;

enum class ByteKind : std::uint8_t { Separator, Plain, Capital, NotAscii };

constexpr std::array<ByteKind, 256> kByteKinds = [] {
    std::array<ByteKind, 256> kinds{};
    for (std::size_t byte = 0; byte < kinds.size(); ++byte) {
        const bool isPlain = (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z');
        const bool isCapital = byte >= 'A' && byte <= 'Z';
        kinds[byte] = byte >= 0x80 ? ByteKind::NotAscii
                      : isPlain    ? ByteKind::Plain
                      : isCapital  ? ByteKind::Capital
                                   : ByteKind::Separator;
    }
    return kinds;
}();

ByteKind kindAt(std::string_view text, std::size_t at) {
    return kByteKinds[static_cast<unsigned char>(text[at])];
}

// Where the run of small ASCII letters and digits ends that begins at `at` or is empty.
std::size_t endOfPlain(std::string_view text, std::size_t at) {
    while (at < text.size() && kindAt(text, at) == ByteKind::Plain) ++at;
    return at;
}

// The size of the word character at `at`, or 0 when another character stands there.
std::size_t wordCharacterSize(std::string_view text, std::size_t at) {
    const ByteKind kind = kindAt(text, at);
    if (kind != ByteKind::NotAscii) return kind == ByteKind::Separator ? 0 : 1;
    const Utf8Character next = utf8CharacterAt(text, at);
    if (next.character == kNoCharacter || !isAlphanumeric(next.character)) return 0;
    return next.bytes;
}

std::size_t sizeAt(std::string_view text, std::size_t at) {
    return utf8CharacterAt(text, at).bytes;
}

}  // namespace

bool WordScanner::readWord() {
    for (;;) {
        if (!m_pieceEnds.empty()) {
            if (readDividedPiece()) break;
        } else if (m_position < m_runEnd) {
            if (readRun()) break;
        } else if (m_position >= m_text.size()) {
            return false;
        } else if (kindAt(m_text, m_position) == ByteKind::Separator) {
            ++m_position;
        } else if (readAsciiWord()) {
            break;
        }
    }
    m_isInRun = !m_pieceEnds.empty() || m_position < m_runEnd;
    return true;
}

// Reads a word of ASCII letters and digits; when other letters follow it, marks the run for
// reading.
bool WordScanner::readAsciiWord() {
    std::size_t at = endOfPlain(m_text, m_position);
    const bool isPlain = at == m_text.size() || kindAt(m_text, at) == ByteKind::Separator;
    if (isPlain) {
        m_begin = m_position;
        m_position = m_end = at;
        m_word = m_text.substr(m_begin, std::min(at - m_begin, kMaxWordBytes));
        return true;
    }
    for (std::size_t size = 1; size > 0 && at < m_text.size(); at += size) {
        size = wordCharacterSize(m_text, at);
    }
    m_runEnd = at;
    if (m_runEnd == m_position) m_position = m_runEnd += sizeAt(m_text, m_position);
    return false;
}

// Reads the next stretch of the run that is all in scripts with blanks, or all in scripts without.
bool WordScanner::readRun() {
    std::size_t at = m_position;
    const auto isUnblankedAt = [this](std::size_t position) {
        return isWrittenWithoutBlanks(utf8CharacterAt(m_text, position).character);
    };
    const auto isMarkAt = [this](std::size_t position) {
        return isMark(utf8CharacterAt(m_text, position).character);
    };
    const bool isUnblanked = isUnblankedAt(at);
    do {
        at += sizeAt(m_text, at);
    } while (at < m_runEnd && (isUnblankedAt(at) == isUnblanked || isMarkAt(at)));
    if (isUnblanked) {
        divide(at);
        return false;
    }
    readPlainPiece(at);
    return !m_word.empty();
}

void WordScanner::readPlainPiece(std::size_t end) {
    m_begin = m_position;
    m_position = m_end = end;
    m_folded.clear();
    appendFolded(m_folded, utf8Prefix(m_text.substr(m_begin, m_end - m_begin), kMaxPieceBytes));
    m_word = utf8Prefix(m_folded, kMaxWordBytes);
}

void WordScanner::divide(std::size_t end) {
    const std::string_view stretch = m_text.substr(m_position, end - m_position);
    m_pieceEnds = wordEnds(utf8Prefix(stretch, kMaxPieceBytes));
    for (std::size_t& pieceEnd : m_pieceEnds) pieceEnd += m_position;
    std::reverse(m_pieceEnds.begin(), m_pieceEnds.end());
}

bool WordScanner::readDividedPiece() {
    const std::size_t end = m_pieceEnds.back();
    m_pieceEnds.pop_back();
    readPlainPiece(end);
    return !m_word.empty();
}

std::size_t characterCount(std::string_view utf8) {
    return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
    }));
}

}  // namespace siftwell
