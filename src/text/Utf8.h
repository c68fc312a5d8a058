// UTF-8: reading, writing and checking characters, and the few questions asked about them.
//
// Threads: any. Errors: bytes that are no character read as one byte that is none; a number that
// is no character is written as U+FFFD.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace siftwell {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";  // the byte-order mark
constexpr char32_t kReplacementCharacter = 0xFFFD;
constexpr char32_t kNoCharacter = 0xFFFFFFFF;

// Whether the number is that of a character: no surrogate, at most U+10FFFF.
constexpr bool isCharacter(char32_t number) {
    return number < 0xD800 || (number > 0xDFFF && number <= 0x10FFFF);
}

constexpr bool isAsciiByte(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

struct Utf8Character {
    char32_t character = kNoCharacter;
    std::size_t bytes = 1;
};

// The character that begins at `at`, which lies within the text.
inline Utf8Character utf8CharacterAt(std::string_view text, std::size_t at);

// The character that ends before `end`, which is not 0.
Utf8Character utf8CharacterBefore(std::string_view text, std::size_t end);

// Writes 1 to 4 bytes; gives their number.
std::size_t writeUtf8(char32_t character, char* to);
void appendUtf8(std::string& text, char32_t character);

bool isValidUtf8(std::string_view text);

// How many bytes from the start are ASCII.
std::size_t asciiPrefix(std::string_view text);

// How many UTF-16 units the text would be.
std::size_t utf16Length(std::string_view text);

// The first `count` UTF-16 units of the text, in which characters above U+FFFF count two; one that
// would be cut is left out.
std::string_view utf16Prefix(std::string_view text, std::size_t count);

// Blanks and line ends of every script (categories Z*, U+0009 to U+000D, U+0085) off both ends.
std::string_view trimmingWhiteSpace(std::string_view text);
std::string_view trimmingLeadingWhiteSpace(std::string_view text);

// Whether the character is a letter, mark or number (categories L*, M*, N*).
bool isAlphanumeric(char32_t character);

// Here because every character of a page that is not ASCII comes by several times. What `left` is
// asked for goes away where it is known.
inline Utf8Character utf8CharacterIn(const char* bytes, std::size_t left) {
    const auto byte = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const auto follows = [&](std::size_t i) { return left > i && (byte(i) & 0xC0) == 0x80; };
    const auto bits = [&](std::size_t i) { return static_cast<char32_t>(byte(i) & 0x3F); };
    const char32_t lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    if (lead < 0xC2 || lead > 0xF4 || !follows(1)) return {};
    if (lead < 0xE0) return {(lead & 0x1F) << 6 | bits(1), 2};
    if (!follows(2)) return {};
    if (lead < 0xF0) {
        const char32_t character = (lead & 0x0F) << 12 | bits(1) << 6 | bits(2);
        const bool isShortest = character >= 0x800;
        return isShortest && isCharacter(character) ? Utf8Character{character, 3} : Utf8Character();
    }
    const char32_t character = (lead & 0x07) << 18 | bits(1) << 12 | bits(2) << 6;
    const bool isInRange = character >= 0x10000 && isCharacter(character);
    return isInRange && follows(3) ? Utf8Character{character | bits(3), 4} : Utf8Character();
}

inline Utf8Character utf8CharacterAt(std::string_view text, std::size_t at) {
    constexpr std::size_t kLongest = 4;
    const std::size_t left = text.size() - at;
    return left >= kLongest ? utf8CharacterIn(text.data() + at, kLongest)
                            : utf8CharacterIn(text.data() + at, left);
}

}  // namespace siftwell
