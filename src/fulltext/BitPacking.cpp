#include "fulltext/BitPacking.h"

#include <bit>

#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

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
    std::uint64_t number = numbers.front();
    std::size_t bit = 0;
    for (std::uint32_t& next : numbers.subspan(1)) {
        const auto word = loadNumber<std::uint64_t>(from + bit / 8);
        number += ((word >> (bit % 8)) & mask) + 1;
        next = static_cast<std::uint32_t>(number);
        bit += width;
    }
    return number;
}

}  // namespace siftwell::fulltext
