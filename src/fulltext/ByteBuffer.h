// ByteBuffer: bytes that are appended in large numbers of small pieces.
//
// It does what a string does, without a call for every piece.
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

class ByteBuffer {
public:
    std::size_t size() const { return m_size; }
    std::size_t capacity() const { return m_capacity; }
    bool empty() const { return m_size == 0; }
    std::string_view view() const { return {m_bytes.get(), m_size}; }
    void clear() { m_size = 0; }

    // Room for at least so many bytes behind the end, which setEnd() then moves.
    char* room(std::size_t bytes) {
        if (m_capacity - m_size < bytes) grow(bytes);
        return m_bytes.get() + m_size;
    }
    void setEnd(const char* end) { m_size = static_cast<std::size_t>(end - m_bytes.get()); }

    void append(std::string_view bytes) {
        if (bytes.empty()) return;  // of an empty one, not even the place is known
        char* const to = room(bytes.size());
        std::memcpy(to, bytes.data(), bytes.size());
        m_size += bytes.size();
    }
    // The same where kReadSlack bytes behind the piece can be read.
    void appendFollowed(std::string_view bytes) {
        char* const to = room(bytes.size() + kReadSlack);
        if (bytes.size() <= kReadSlack) {
            std::memcpy(to, bytes.data(), kReadSlack);
        } else {
            std::memcpy(to, bytes.data(), bytes.size());
        }
        m_size += bytes.size();
    }
    template <typename Number>
    void appendNumber(Number number) {
        std::memcpy(room(sizeof number), &number, sizeof number);
        m_size += sizeof number;
    }
    void appendByte(std::uint64_t byte) {
        *room(1) = static_cast<char>(byte);
        ++m_size;
    }
    void appendVarint(std::uint64_t number) { setEnd(writeVarint(room(kMaxVarintBytes), number)); }

private:
    void grow(std::size_t bytes) {
        const std::size_t capacity = std::max(m_size + bytes, m_capacity * 2);
        std::unique_ptr<char[]> larger(new char[capacity]);
        if (m_size > 0) std::memcpy(larger.get(), m_bytes.get(), m_size);
        m_bytes = std::move(larger);
        m_capacity = capacity;
    }

    std::unique_ptr<char[]> m_bytes;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

}  // namespace siftwell::fulltext
