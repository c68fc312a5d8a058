// Packing small numbers to the bit: `count` numbers of `width` bits each, the first in the lowest
// bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "fulltext/ByteBuffer.h"

namespace siftwell::fulltext {

// Bits that the largest of the numbers needs, 0 to 32.
unsigned packedWidth(std::span<const std::uint32_t> numbers);

constexpr std::size_t packedBytes(std::size_t count, unsigned width) {
    return (count * width + 7) / 8;
}

void appendPacked(ByteBuffer& bytes, std::span<const std::uint32_t> numbers, unsigned width);

// Unpacks distances less 1 between rising numbers, of which the first one is there already; answers
// the last one, or another number when it is too large. `from` has packedBytes() + kReadSlack
// readable bytes.
std::uint64_t unpackRising(const char* from, unsigned width, std::span<std::uint32_t> numbers);

}  // namespace siftwell::fulltext
