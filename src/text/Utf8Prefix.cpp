#include "text/Utf8Prefix.h"

#include "text/Utf8.h"

namespace siftwell {

std::string_view utf8Prefix(std::string_view text, std::size_t maxBytes) {
    if (text.size() <= maxBytes) return text;
    std::size_t end = maxBytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end);
}

std::string repairedUtf8(std::string_view text) {
    if (isValidUtf8(text)) return std::string(text);
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const Utf8Character next = utf8CharacterAt(text, at);
        appendUtf8(result, next.character == kNoCharacter ? kReplacementCharacter : next.character);
        at += next.bytes;
    }
    return result;
}

}  // namespace siftwell
