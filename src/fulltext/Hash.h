// Hashes of short byte strings.
#pragma once

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <cstdint>
#include <string_view>

namespace siftwell::fulltext {

// XXH3 without a seed: may stand in files.
inline std::uint64_t stableHash(std::string_view bytes) {
    return XXH3_64bits(bytes.data(), bytes.size());
}

// For tables in memory: seeded anew in every process, so that no page can be made whose words fall
// on the same slot.
std::uint64_t hashSeed();
inline std::uint64_t seededHash(std::string_view bytes, std::uint64_t seed) {
    return XXH3_64bits_withSeed(bytes.data(), bytes.size(), seed);
}

}  // namespace siftwell::fulltext
