// InPlaceRewrite: reads a text once and writes its shorter form over what was read.
//
// Threads: one thread; borrows the text. Errors: none. Nothing is allocated, and as long as
// everything was copied nothing is written. Until finish() the text is a mixture.
#pragma once

#include <cstring>
#include <string>

#include "text/ByteBlock.h"
#include "text/Utf8.h"

namespace siftwell {

class InPlaceRewrite {
public:
    explicit InPlaceRewrite(std::string& text)
        : m_text(&text), m_start(text.data()), m_size(text.size()) {}

    bool isAtEnd() const { return m_read == m_size; }
    std::size_t position() const { return m_read; }  // of the next byte to read
    std::size_t size() const { return m_size; }
    // The text; from position() on it is as it was given.
    std::string_view text() const { return {m_start, m_size}; }
    const char* next() const { return m_start + m_read; }

    void copyUpTo(std::size_t position);
    void skipTo(std::size_t position) { m_read = position; }

    // These need room: more was read than written, by at least the bytes they write.
    void write(char byte) { m_start[m_written++] = byte; }
    void writeCharacter(char32_t character) {
        m_written += writeUtf8(character, m_start + m_written);
    }
    void writeSpaceUnlessOneStands() {
        m_start[m_written] = ' ';
        m_written += m_written > 0 && m_start[m_written - 1] == ' ' ? 0 : 1;
    }

    // The next sixteen bytes, or those that far ahead; zeros behind the end of the text.
    ByteBlock nextBlock() const { return blockAhead(0); }
    ByteBlock blockAhead(std::size_t distance) const {
        return ByteBlock::loadWithin(text(), m_read + distance);
    }

    // Reads as many bytes as it writes: the first `count` of the block, which was made of the next
    // ones and differs from them or does not. Once the text is shorter that is not looked at.
    void exchange(ByteBlock block, std::size_t count, bool differs);

    bool isShorter() const { return m_written < m_read; }
    bool endsWithSpace() const { return m_written > 0 && m_start[m_written - 1] == ' '; }

    void finish() { m_text->resize(m_written); }

private:
    std::string* m_text;
    char* m_start;
    std::size_t m_size;
    std::size_t m_read = 0;
    std::size_t m_written = 0;
};

inline void InPlaceRewrite::copyUpTo(std::size_t position) {
    const std::size_t count = position - m_read;
    char* const to = m_start + m_written;
    const char* const from = m_start + m_read;
    // Whole blocks may be written over what was read, but not over what was not; they may be read
    // up to the end of the text. One is copied even for nothing: asking costs more.
    const bool fits = m_size - m_read >= count + ByteBlock::kSize;
    if (m_read - m_written >= ByteBlock::kSize && fits) {
        std::size_t copied = 0;
        do {
            ByteBlock::load(from + copied).store(to + copied);
            copied += ByteBlock::kSize;
        } while (copied < count);
    } else if (from != to) {
        std::memmove(to, from, count);
    }
    m_read = position;
    m_written += count;
}

inline void InPlaceRewrite::exchange(ByteBlock block, std::size_t count, bool differs) {
    const std::size_t gap = m_read - m_written;
    if (count == ByteBlock::kSize || gap >= ByteBlock::kSize) {
        if (differs || gap > 0) block.store(m_start + m_written);
    } else if (differs || gap > 0) {
        char bytes[ByteBlock::kSize];
        block.store(bytes);
        std::memcpy(m_start + m_written, bytes, count);
    }
    m_read += count;
    m_written += count;
}

}  // namespace siftwell
