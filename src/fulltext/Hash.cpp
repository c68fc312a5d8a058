#include "fulltext/Hash.h"

#include <random>

namespace siftwell::fulltext {

namespace {

std::uint64_t randomNumber() {
    std::random_device random;
    return std::uint64_t{random()} << 32 | random();
}

}  // namespace

const HashSeeds kHashSeeds = {randomNumber(), randomNumber()};

}  // namespace siftwell::fulltext
