// ByteClasses tells for 64 bytes of a text at once which of them are plain word characters (small
// ASCII letters and digits, of which most indexed words are made), and which need a closer look
// (capital letters and bytes of other scripts). All others separate words.
#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace siftwell {

struct ByteClasses {
    static constexpr std::size_t kBytes = 64;

    std::uint64_t plain = 0;    // one bit per byte, the first in the lowest
    std::uint64_t special = 0;  // the same

    static ByteClasses of(const char* bytes);
};

#if defined(__SSE2__)

inline ByteClasses ByteClasses::of(const char* bytes) {
    constexpr std::size_t kLanes = 16;
    const auto isWithin = [](__m128i lanes, char first, char last) {
        const __m128i distance = _mm_sub_epi8(lanes, _mm_set1_epi8(first));
        const __m128i most = _mm_set1_epi8(static_cast<char>(last - first));
        return _mm_cmpeq_epi8(_mm_min_epu8(distance, most), distance);
    };
    const auto bitsOf = [](__m128i lanes) {
        return std::uint64_t{static_cast<std::uint16_t>(_mm_movemask_epi8(lanes))};
    };
    ByteClasses classes;
    for (std::size_t at = 0; at < kBytes; at += kLanes) {
        const void* const from = bytes + at;
        const __m128i lanes = _mm_loadu_si128(static_cast<const __m128i*>(from));
        const __m128i plain = _mm_or_si128(isWithin(lanes, 'a', 'z'), isWithin(lanes, '0', '9'));
        // The highest bit of a lane counts, which is set in bytes of other scripts.
        const __m128i special = _mm_or_si128(isWithin(lanes, 'A', 'Z'), lanes);
        classes.plain |= bitsOf(plain) << at;
        classes.special |= bitsOf(special) << at;
    }
    return classes;
}

#else

inline ByteClasses ByteClasses::of(const char* bytes) {
    ByteClasses classes;
    for (std::size_t at = 0; at < kBytes; ++at) {
        const auto byte = static_cast<unsigned char>(bytes[at]);
        const bool isPlain = (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9');
        const bool isSpecial = byte >= 0x80 || (byte >= 'A' && byte <= 'Z');
        classes.plain |= std::uint64_t{isPlain} << at;
        classes.special |= std::uint64_t{isSpecial} << at;
    }
    return classes;
}

#endif

}  // namespace siftwell
