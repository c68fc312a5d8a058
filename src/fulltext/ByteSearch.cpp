#include "fulltext/ByteSearch.h"

#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace siftwell::fulltext {

#if defined(__SSE2__)

namespace {

constexpr std::size_t kLanes = 16;

__m128i loadLanes(const char* from) {
    const void* anonymous = from;
    return _mm_loadu_si128(static_cast<const __m128i*>(anonymous));
}

}  // namespace

std::size_t findBytes(std::string_view bytes, std::string_view pattern, std::size_t from) {
    const __m128i first = _mm_set1_epi8(pattern.front());
    const __m128i last = _mm_set1_epi8(pattern.back());
    const std::size_t distance = pattern.size() - 1;
    std::size_t at = from;
    for (; at + distance + kLanes <= bytes.size(); at += kLanes) {
        const __m128i firsts = _mm_cmpeq_epi8(first, loadLanes(bytes.data() + at));
        const __m128i lasts = _mm_cmpeq_epi8(last, loadLanes(bytes.data() + at + distance));
        auto candidates = static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(firsts, lasts)));
        for (; candidates != 0; candidates &= candidates - 1) {
            const std::size_t place = at + static_cast<std::size_t>(std::countr_zero(candidates));
            if (std::memcmp(bytes.data() + place, pattern.data(), pattern.size()) == 0)
                return place;
        }
    }
    return at <= bytes.size() ? bytes.find(pattern, at) : std::string_view::npos;
}

#else

std::size_t findBytes(std::string_view bytes, std::string_view pattern, std::size_t from) {
    if (from >= bytes.size()) return std::string_view::npos;
    const void* found =
        memmem(bytes.data() + from, bytes.size() - from, pattern.data(), pattern.size());
    if (found == nullptr) return std::string_view::npos;
    return static_cast<std::size_t>(static_cast<const char*>(found) - bytes.data());
}

#endif

}  // namespace siftwell::fulltext
