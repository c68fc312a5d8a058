#include "fulltext/Checksum.h"

#include <array>

#include "fulltext/Bytes.h"

#if defined(__x86_64__)
#include <nmmintrin.h>
#endif

namespace siftwell::fulltext {

namespace {

constexpr std::array<std::uint32_t, 256> kTable = [] {
    constexpr std::uint32_t kReversedPolynomial = 0x82F63B78;
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t remainder = byte;
        for (int bit = 0; bit < 8; ++bit) {
            remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? kReversedPolynomial : 0);
        }
        table[byte] = remainder;
    }
    return table;
}();

std::uint32_t byTable(std::string_view bytes, std::uint32_t state) {
    for (const char byte : bytes) {
        state = (state >> 8) ^ kTable[(state ^ static_cast<unsigned char>(byte)) & 0xFF];
    }
    return state;
}

#if defined(__x86_64__)
__attribute__((target("sse4.2"))) std::uint32_t byInstruction(std::string_view bytes,
                                                              std::uint32_t state) {
    std::uint64_t wide = state;
    while (bytes.size() >= 8) {
        wide = _mm_crc32_u64(wide, loadNumber<std::uint64_t>(bytes.data()));
        bytes.remove_prefix(8);
    }
    auto narrow = static_cast<std::uint32_t>(wide);
    for (const char byte : bytes) narrow = _mm_crc32_u8(narrow, static_cast<unsigned char>(byte));
    return narrow;
}

bool hasInstruction() {
    static const bool has = __builtin_cpu_supports("sse4.2") != 0;
    return has;
}
#else
std::uint32_t byInstruction(std::string_view bytes, std::uint32_t state) {
    return byTable(bytes, state);
}
bool hasInstruction() { return false; }
#endif

}  // namespace

std::uint32_t crc32c(std::string_view bytes, std::uint32_t start) {
    return ~(hasInstruction() ? byInstruction(bytes, ~start) : byTable(bytes, ~start));
}

}  // namespace siftwell::fulltext
