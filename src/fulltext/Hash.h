// Hashes of short byte strings.
#pragma once

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace siftwell::fulltext {

// XXH3 without a seed: may stand in files.
inline std::uint64_t stableHash(std::string_view bytes) {
    return XXH3_64bits(bytes.data(), bytes.size());
}

// For tables in memory: drawn anew in every process, so that nobody outside can tell which words
// fall on the same slot.
using HashSeeds = std::array<std::uint64_t, 2>;
extern const HashSeeds kHashSeeds;

inline std::uint64_t seededHash(std::string_view bytes) {
    return XXH3_64bits_withSeed(bytes.data(), bytes.size(), kHashSeeds[0]);
}

// The same of two numbers: the halves of their product, added without carry.
inline std::uint64_t seededHash(std::uint64_t a, std::uint64_t b) {
    return XXH3_mul128_fold64(a ^ kHashSeeds[0], b ^ kHashSeeds[1]);
}

}  // namespace siftwell::fulltext
