// A text that is nothing but a number.
//
// Threads: pure function.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace siftwell {

// None when anything stands before or behind it, or when it does not fit.
template <typename Number>
std::optional<Number> wholeNumberIn(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || last != end) return std::nullopt;
    return number;
}

}  // namespace siftwell
