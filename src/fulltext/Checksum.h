// CRC-32C (Castagnoli polynomial, as in iSCSI), by the processor's instruction where it has one.
#pragma once

#include <cstdint>
#include <string_view>

namespace siftwell::fulltext {

// The checksum of what `start` stands for, followed by `bytes`.
std::uint32_t crc32c(std::string_view bytes, std::uint32_t start = 0);

}  // namespace siftwell::fulltext
