#include "text/Characters.h"

#include <unicode/uchar.h>
#include <unicode/uscript.h>

namespace siftwell {

bool isMark(char32_t character) {
    return (U_MASK(u_charType(static_cast<UChar32>(character))) & U_GC_M_MASK) != 0;
}

bool isWrittenWithoutBlanks(char32_t character) {
    constexpr char32_t kFirstSuchScript = 0x0E00;
    if (character < kFirstSuchScript) return false;
    const auto point = static_cast<UChar32>(character);
    UErrorCode error = U_ZERO_ERROR;
    switch (uscript_getScript(point, &error)) {
        case USCRIPT_HAN:
        case USCRIPT_HIRAGANA:
        case USCRIPT_KATAKANA:
        case USCRIPT_THAI:
        case USCRIPT_LAO:
        case USCRIPT_KHMER:
        case USCRIPT_MYANMAR:
            return true;
        case USCRIPT_COMMON:  // the lengthening mark of kana
        case USCRIPT_INHERITED:
            return uscript_hasScript(point, USCRIPT_KATAKANA) != 0;
        default:
            return false;
    }
}

}  // namespace siftwell
