// Numbers as other programs' files hold them.
//
// Threads: pure functions. Errors: none where the bytes end before the number does.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace siftwell {

// The least significant byte first.
template <std::integral Number>
std::optional<Number> littleEndianAt(std::string_view bytes, std::size_t at) {
    if (at > bytes.size() || bytes.size() - at < sizeof(Number)) return std::nullopt;
    std::uint64_t number = 0;
    for (std::size_t i = sizeof(Number); i-- > 0;) {
        number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
    }
    return static_cast<Number>(number);
}

// The most significant byte first.
template <std::integral Number>
std::optional<Number> bigEndianAt(std::string_view bytes, std::size_t at) {
    if (at > bytes.size() || bytes.size() - at < sizeof(Number)) return std::nullopt;
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
    }
    return static_cast<Number>(number);
}

}  // namespace siftwell
