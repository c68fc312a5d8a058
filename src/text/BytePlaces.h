// BytePlaces: where either of two bytes stands in a stretch of a text.
//
// For bytes that stand close together: listing them all first and then walking the list spares a
// jump that the processor cannot foresee at every one.
//
// Threads: one thread. Errors: none.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "text/ByteBlock.h"

namespace siftwell {

template <std::size_t kLongestStretch>
class BytePlaces {
public:
    BytePlaces(char one, char other) : m_one(one), m_other(other) {}

    // The places in from ... to - 1, in order, counted from `from`. Valid until the next call.
    std::span<const std::uint16_t> list(std::string_view text, std::size_t from, std::size_t to) {
        std::size_t count = 0;
        for (std::size_t at = from; at < to; at += kWidth) {
            std::uint64_t bits = bitsAt(text, at);
            if (to - at < kWidth) bits &= (std::uint64_t{1} << (to - at)) - 1;
            count += append(bits, at - from, m_places.data() + count);
        }
        return {m_places.data(), count};
    }

private:
    static constexpr std::size_t kWidth = 64;
    static constexpr std::size_t kUsual = 8;  // as many as 64 bytes hold as a rule

    std::uint64_t bitsAt(std::string_view text, std::size_t at) const {
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < kWidth; i += ByteBlock::kSize) {
            const ByteBlock block = ByteBlock::loadWithin(text, at + i);
            const ByteBlock found = block.isEqualTo(m_one) | block.isEqualTo(m_other);
            bits |= std::uint64_t{found.topBits()} << i;
        }
        return bits;
    }

    // The usual number is always written; what is too much is written over by the next.
    static std::size_t append(std::uint64_t bits, std::size_t base, std::uint16_t* to) {
        const auto count = static_cast<std::size_t>(std::popcount(bits));
        for (std::size_t i = 0; i < kUsual || i < count; ++i, bits &= bits - 1) {
            to[i] =
                static_cast<std::uint16_t>(base + static_cast<std::size_t>(std::countr_zero(bits)));
        }
        return count;
    }

    static_assert(kLongestStretch + kWidth <= 65535);

    char m_one;
    char m_other;
    std::array<std::uint16_t, kLongestStretch + kUsual> m_places;
};

}  // namespace siftwell
