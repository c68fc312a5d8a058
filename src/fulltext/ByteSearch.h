// Finding a short pattern in a long run of bytes.
#pragma once

#include <string_view>

namespace siftwell::fulltext {

// The first place at or behind `from` where the pattern stands, or npos. The pattern is not empty.
// Compares sixteen places at a time by the pattern's first and last byte where the processor can.
std::size_t findBytes(std::string_view bytes, std::string_view pattern, std::size_t from);

}  // namespace siftwell::fulltext
