#include "text/Utf8.h"

#include <unicode/uchar.h>

#include <algorithm>

#include "text/ByteBlock.h"

namespace siftwell {

namespace {

constexpr std::uint32_t kAlphanumericCategories = U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK;

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

std::size_t utf16UnitsBegunBy(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    if (isContinuation(value)) return 0;
    return value >= 0xF0 ? 2 : 1;
}

std::uint32_t categoryBit(char32_t character) {
    return U_MASK(static_cast<std::uint32_t>(u_charType(static_cast<UChar32>(character))));
}

bool isWhiteSpace(char32_t character) {
    if (character < 0x80) return character == ' ' || (character >= 0x09 && character <= 0x0D);
    return character == 0x85 ||
           (isCharacter(character) && (categoryBit(character) & U_GC_Z_MASK) != 0);
}

}  // namespace

Utf8Character utf8CharacterBefore(std::string_view text, std::size_t end) {
    std::size_t at = end - 1;
    while (at > 0 && end - at < 4 && isContinuation(static_cast<unsigned char>(text[at]))) --at;
    const Utf8Character found = utf8CharacterAt(text.substr(0, end), at);
    return at + found.bytes == end ? found : Utf8Character();
}

std::size_t writeUtf8(char32_t character, char* to) {
    if (!isCharacter(character)) character = kReplacementCharacter;
    const auto put = [&](std::size_t i, char32_t byte) { to[i] = static_cast<char>(byte); };
    const auto rest = [&](unsigned shift) { return 0x80 | ((character >> shift) & 0x3F); };
    if (character < 0x80) {
        put(0, character);
        return 1;
    }
    if (character < 0x800) {
        put(0, 0xC0 | character >> 6);
        put(1, rest(0));
        return 2;
    }
    if (character < 0x10000) {
        put(0, 0xE0 | character >> 12);
        put(1, rest(6));
        put(2, rest(0));
        return 3;
    }
    put(0, 0xF0 | character >> 18);
    put(1, rest(12));
    put(2, rest(6));
    put(3, rest(0));
    return 4;
}

void appendUtf8(std::string& text, char32_t character) {
    char bytes[4];
    text.append(bytes, writeUtf8(character, bytes));
}

std::size_t asciiPrefix(std::string_view text) {
    std::size_t at = 0;
    for (; at + ByteBlock::kSize <= text.size(); at += ByteBlock::kSize) {
        const std::uint32_t others = ByteBlock::load(text.data() + at).topBits();
        if (others != 0) return at + static_cast<std::size_t>(std::countr_zero(others));
    }
    while (at < text.size() && isAsciiByte(text[at])) ++at;
    return at;
}

std::size_t utf16Length(std::string_view text) {
    std::size_t units = 0;
    for (const char byte : text) units += utf16UnitsBegunBy(byte);
    return units;
}

std::string_view utf16Prefix(std::string_view text, std::size_t count) {
    std::size_t at = asciiPrefix(text.substr(0, count));
    for (std::size_t units = at; at < text.size(); ++at) {
        units += utf16UnitsBegunBy(text[at]);
        if (units > count) break;
    }
    return text.substr(0, at);
}

std::string_view trimmingLeadingWhiteSpace(std::string_view text) {
    while (!text.empty()) {
        const Utf8Character first = utf8CharacterAt(text, 0);
        if (!isWhiteSpace(first.character)) break;
        text.remove_prefix(first.bytes);
    }
    return text;
}

std::string_view trimmingWhiteSpace(std::string_view text) {
    text = trimmingLeadingWhiteSpace(text);
    while (!text.empty()) {
        const Utf8Character last = utf8CharacterBefore(text, text.size());
        if (!isWhiteSpace(last.character)) break;
        text.remove_suffix(last.bytes);
    }
    return text;
}

bool isAlphanumeric(char32_t character) {
    return isCharacter(character) && (categoryBit(character) & kAlphanumericCategories) != 0;
}

}  // namespace siftwell
