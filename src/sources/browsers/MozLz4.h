// MozLz4: the form in which browsers of the Firefox family pack files: "mozLz40", a zero byte, the
// size as 32 bits with the lowest byte first, and one raw LZ4 block.
//
// Threads: pure functions. Errors: input is hostile; TooLarge for what would unpack to more than
// kMaxUnpackedBytes, Damaged for what does not unpack to the size it claims.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/Status.h"

namespace siftwell {

inline constexpr std::size_t kMaxUnpackedBytes = std::size_t{64} << 20;

bool isMozLz4(std::string_view bytes);

Result<std::string> unpackMozLz4(std::string_view bytes);

}  // namespace siftwell
