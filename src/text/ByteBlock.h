// ByteBlock: sixteen bytes of a text looked at together.
//
// A condition gives a block whose bytes are all ones where it holds and zero elsewhere; topBits()
// turns it into a number to count and walk. Written with the compilers' vector types, which every
// machine has; only topBits() has an instruction of its own on x86-64.
//
// Threads: a value. Errors: none; load() and store() need sixteen bytes there.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace siftwell {

class ByteBlock {
public:
    static constexpr std::size_t kSize = 16;

    static ByteBlock load(const char* from) {
        ByteBlock block;
        std::memcpy(&block.m_bytes, from, kSize);
        return block;
    }
    // The bytes of the text from `at` on, with zeros behind its end.
    static ByteBlock loadWithin(std::string_view text, std::size_t at) {
        if (at + kSize <= text.size()) return load(text.data() + at);
        ByteBlock block = filledWith('\0');
        if (at < text.size()) std::memcpy(&block.m_bytes, text.data() + at, text.size() - at);
        return block;
    }
    static ByteBlock filledWith(char byte) {
        return ByteBlock(Bytes{} + static_cast<unsigned char>(byte));
    }
    void store(char* to) const { std::memcpy(to, &m_bytes, kSize); }

    ByteBlock isEqualTo(char byte) const { return isEqualTo(filledWith(byte)); }
    ByteBlock isEqualTo(ByteBlock other) const { return condition(m_bytes == other.m_bytes); }

    // Whether the byte, read without a sign, is one of first ... last.
    ByteBlock isBetween(char first, char last) const {
        const auto width = static_cast<unsigned char>(last - first);
        return condition(m_bytes - filledWith(first).m_bytes <= filledWith(char(width)).m_bytes);
    }

    // Whether the byte, read without a sign, is `least` or more.
    ByteBlock isAtLeast(char least) const {
        return condition(m_bytes >= filledWith(least).m_bytes);
    }

    ByteBlock operator|(ByteBlock other) const { return ByteBlock(m_bytes | other.m_bytes); }
    ByteBlock operator&(ByteBlock other) const { return ByteBlock(m_bytes & other.m_bytes); }
    ByteBlock operator~() const { return ByteBlock(~m_bytes); }

    // Bit i is the top bit of byte i.
    std::uint32_t topBits() const {
#if defined(__SSE2__)
        return static_cast<std::uint32_t>(_mm_movemask_epi8(std::bit_cast<__m128i>(m_bytes)));
#else
        return topBitsOneByOne();
#endif
    }
    std::uint32_t topBitsOneByOne() const {
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < kSize; ++i) {
            bits |= static_cast<std::uint32_t>(m_bytes[i] >> 7) << i;
        }
        return bits;
    }

private:
    using Bytes = unsigned char __attribute__((vector_size(kSize)));

    ByteBlock() = default;
    explicit ByteBlock(Bytes bytes) : m_bytes(bytes) {}

    template <typename Comparison>
    static ByteBlock condition(Comparison comparison) {
        return ByteBlock(std::bit_cast<Bytes>(comparison));
    }

    Bytes m_bytes;
};

// Bits 0 ... count - 1; count is at most 31.
constexpr std::uint32_t lowBits(std::size_t count) { return (std::uint32_t{1} << count) - 1; }

}  // namespace siftwell
