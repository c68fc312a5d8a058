#include "text/Printable.h"

#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

// Control characters, other line ends, and what turns the direction of the text around it, so that
// one address would read like another.
bool isUnprintable(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) ||
           (character >= 0x2028 && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result;
    const std::string repaired = repairedUtf8(text);
    for (std::size_t at = 0; at < repaired.size();) {
        const Utf8Character next = utf8CharacterAt(repaired, at);
        if (isUnprintable(next.character)) {
            result += ' ';
        } else {
            result.append(repaired, at, next.bytes);
        }
        at += next.bytes;
    }
    return result;
}

}  // namespace siftwell
