#include "fulltext/Hash.h"

#include <random>

namespace siftwell::fulltext {

std::uint64_t hashSeed() {
    static const std::uint64_t seed = [] {
        std::random_device random;
        return std::uint64_t{random()} << 32 | random();
    }();
    return seed;
}

}  // namespace siftwell::fulltext
