// What every fuzz target asks of the code: that something is true of any input.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace siftwell::fuzz {

// Ends the program, which is how a fuzz target reports a finding.
inline void require(bool condition, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
    if (condition) return;
    std::fprintf(stderr, "%s:%d: this is not so.\n", file, line);
    std::abort();
}

inline std::string_view asText(const std::uint8_t* data, std::size_t size) {
    const void* anonymous = data;
    return {static_cast<const char*>(anonymous), size};
}

// Both sides of the first line end; without one, the second is empty.
struct TwoParts {
    std::string_view first;
    std::string_view second;
};
inline TwoParts atFirstLineEnd(std::string_view input) {
    const std::size_t end = input.find('\n');
    if (end == std::string_view::npos) return {input, {}};
    return {input.substr(0, end), input.substr(end + 1)};
}

}  // namespace siftwell::fuzz
