// Packing small numbers to the bit: `count` numbers of `width` bits each, the first in the lowest
// bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace siftwell::fulltext {

// Unpacking reads whole words: so many bytes behind the packed ones must exist, whatever they hold.
inline constexpr std::size_t kUnpackSlack = 8;

// Bits that the largest of the numbers needs, 0 to 32.
unsigned packedWidth(std::span<const std::uint32_t> numbers);

constexpr std::size_t packedBytes(std::size_t count, unsigned width) {
    return (count * width + 7) / 8;
}

void appendPacked(std::string& bytes, std::span<const std::uint32_t> numbers, unsigned width);

// Unpacks numbers.size() numbers. `from` has packedBytes() + kUnpackSlack readable bytes.
void unpack(const std::uint8_t* from, unsigned width, std::span<std::uint32_t> numbers);

}  // namespace siftwell::fulltext
