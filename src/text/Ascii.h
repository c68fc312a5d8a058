// ASCII letters, without regard to any language. No other character has a case here.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace siftwell {

constexpr char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

// Capitals A to Z become small; every other byte stays.
inline std::string lowerCasedAscii(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), asciiLower);
    return result;
}

inline bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return asciiLower(x) == asciiLower(y); });
}

}  // namespace siftwell
