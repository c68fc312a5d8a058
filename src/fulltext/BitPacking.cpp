#include "fulltext/BitPacking.h"

#include <bit>

#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

unsigned packedWidth(std::span<const std::uint32_t> numbers) {
    std::uint32_t all = 0;
    for (const std::uint32_t number : numbers) all |= number;
    return static_cast<unsigned>(std::bit_width(all));
}

void appendPacked(std::string& bytes, std::span<const std::uint32_t> numbers, unsigned width) {
    std::uint64_t word = 0;
    unsigned used = 0;
    for (const std::uint32_t number : numbers) {
        word |= std::uint64_t{number} << used;
        used += width;
        for (; used >= 8; used -= 8) {
            bytes += static_cast<char>(word);
            word >>= 8;
        }
    }
    if (used > 0) bytes += static_cast<char>(word);
}

void unpack(const std::uint8_t* from, unsigned width, std::span<std::uint32_t> numbers) {
    const std::uint64_t mask = (std::uint64_t{1} << width) - 1;
    std::size_t bit = 0;
    for (std::uint32_t& number : numbers) {
        const auto word = loadNumber<std::uint64_t>(from + bit / 8);
        number = static_cast<std::uint32_t>((word >> (bit % 8)) & mask);
        bit += width;
    }
}

}  // namespace siftwell::fulltext
