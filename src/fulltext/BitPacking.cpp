#include "fulltext/BitPacking.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include <array>
#include <bit>

#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

namespace {

// What unpacking has done so far.
struct Unpacked {
    std::uint64_t number = 0;  // the last one
    std::size_t count = 0;     // behind the first one
};

#if defined(__x86_64__)
constexpr std::size_t kGroup = 8;         // numbers at a time: they begin and end with a byte
constexpr unsigned kWidestInGroups = 24;  // their sum in a block stays below 2^32
constexpr unsigned kWidestInEightBytes = 12;

// Where each four bytes with a number of a group begin: the first half of the group in the first
// 16 bytes, the second half in those from byte width / 2 on; and by how many bits to shift them.
struct GroupPlaces {
    alignas(32) std::array<std::uint8_t, 32> bytes;
    alignas(32) std::array<std::uint32_t, kGroup> shifts;
};

constexpr GroupPlaces placesOf(unsigned width) {
    GroupPlaces places{};
    for (unsigned i = 0; i < kGroup; ++i) {
        const unsigned bit = i < 4 ? i * width : i * width - width / 2 * 8;
        places.shifts[i] = bit % 8;
        for (unsigned byte = 0; byte < 4; ++byte) {
            places.bytes[i * 4 + byte] = static_cast<std::uint8_t>(bit / 8 + byte);
        }
    }
    return places;
}

constexpr auto kPlaces = [] {
    std::array<GroupPlaces, kWidestInGroups + 1> all{};
    for (unsigned width = 0; width <= kWidestInGroups; ++width) all[width] = placesOf(width);
    return all;
}();

// Group by group, as far as the bytes that may be read reach.
__attribute__((target("avx2"))) Unpacked unpackGroups(const char* from, unsigned width,
                                                      std::span<std::uint32_t> numbers) {
    const GroupPlaces& places = kPlaces[width];
    const __m256i bytes = _mm256_load_si256(reinterpret_cast<const __m256i*>(places.bytes.data()));
    const __m256i shifts =
        _mm256_load_si256(reinterpret_cast<const __m256i*>(places.shifts.data()));
    const __m256i mask = _mm256_set1_epi32(static_cast<int>((std::uint32_t{1} << width) - 1));
    const __m256i one = _mm256_set1_epi32(1);
    const __m256i lastOfEach = _mm256_set1_epi32(7);
    const std::size_t readable = packedBytes(numbers.size() - 1, width) + kReadSlack;
    const std::size_t reach = width / 2 + (width <= kWidestInEightBytes ? 8 : 16);
    __m256i before = _mm256_set1_epi32(static_cast<int>(numbers.front()));
    std::size_t done = 0;
    for (std::size_t at = 0; done + kGroup < numbers.size() && at + reach <= readable;
         at += width, done += kGroup) {
        const auto* low = reinterpret_cast<const __m128i*>(from + at);
        const auto* high = reinterpret_cast<const __m128i*>(from + at + width / 2);
        const __m256i raw = width <= kWidestInEightBytes
                                ? _mm256_set_m128i(_mm_loadl_epi64(high), _mm_loadl_epi64(low))
                                : _mm256_set_m128i(_mm_loadu_si128(high), _mm_loadu_si128(low));
        __m256i sum =
            _mm256_and_si256(_mm256_srlv_epi32(_mm256_shuffle_epi8(raw, bytes), shifts), mask);
        sum = _mm256_add_epi32(sum, one);
        sum = _mm256_add_epi32(sum, _mm256_slli_si256(sum, 4));
        sum = _mm256_add_epi32(sum, _mm256_slli_si256(sum, 8));
        // The second half goes on where the first one ends.
        const __m256i half = _mm256_permute2x128_si256(sum, sum, 0x08);
        sum = _mm256_add_epi32(sum, _mm256_shuffle_epi32(half, 0xFF));
        sum = _mm256_add_epi32(sum, before);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(&numbers[done + 1]), sum);
        before = _mm256_permutevar8x32_epi32(sum, lastOfEach);
    }
    // As a sum of distances it may be larger than the numbers hold.
    const std::uint32_t distance = numbers[done] - numbers.front();
    return {std::uint64_t{numbers.front()} + distance, done};
}

bool canUnpackGroups(unsigned width) {
    static const bool has = __builtin_cpu_supports("avx2") != 0;
    return has && width <= kWidestInGroups;
}
#else
Unpacked unpackGroups(const char*, unsigned, std::span<std::uint32_t>) { return {}; }
bool canUnpackGroups(unsigned) { return false; }
#endif

}  // namespace

unsigned packedWidth(std::span<const std::uint32_t> numbers) {
    std::uint32_t all = 0;
    for (const std::uint32_t number : numbers) all |= number;
    return static_cast<unsigned>(std::bit_width(all));
}

void appendPacked(ByteBuffer& bytes, std::span<const std::uint32_t> numbers, unsigned width) {
    const std::size_t size = packedBytes(numbers.size(), width);
    char* to = bytes.room(size + sizeof(std::uint64_t));
    char* const end = to + size;
    std::uint64_t word = 0;
    unsigned used = 0;
    for (const std::uint32_t number : numbers) {
        word |= std::uint64_t{number} << used;
        used += width;
        std::memcpy(to, &word, sizeof word);
        to += used / 8;
        word >>= used / 8 * 8;
        used %= 8;
    }
    bytes.setEnd(end);
}

std::uint64_t unpackRising(const char* from, unsigned width, std::span<std::uint32_t> numbers) {
    const std::uint64_t mask = (std::uint64_t{1} << width) - 1;
    Unpacked unpacked{numbers.front(), 0};
    if (canUnpackGroups(width)) unpacked = unpackGroups(from, width, numbers);
    std::uint64_t number = unpacked.number;
    std::size_t bit = unpacked.count * width;
    for (std::uint32_t& next : numbers.subspan(1 + unpacked.count)) {
        const auto word = loadNumber<std::uint64_t>(from + bit / 8);
        number += ((word >> (bit % 8)) & mask) + 1;
        next = static_cast<std::uint32_t>(number);
        bit += width;
    }
    return number;
}

}  // namespace siftwell::fulltext
