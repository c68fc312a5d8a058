#include "text/DisplayWidth.h"

#include <unicode/uchar.h>

#include "text/Utf8.h"

namespace siftwell {

std::size_t columnsOf(char32_t character) {
    if (character < 0x300 || !isCharacter(character)) return 1;
    const auto point = static_cast<UChar32>(character);
    constexpr std::uint32_t kJoining = U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK;
    if ((U_GET_GC_MASK(point) & kJoining) != 0) return 0;
    const int width = u_getIntPropertyValue(point, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

}  // namespace siftwell
