#include "text/Folding.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <array>
#include <atomic>

#include "text/Characters.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

const icu::Normalizer2& caseFoldingNormalizer() {
    UErrorCode error = U_ZERO_ERROR;
    return *icu::Normalizer2::getNFKCCasefoldInstance(error);
}

const icu::Normalizer2& decomposer() {
    UErrorCode error = U_ZERO_ERROR;
    return *icu::Normalizer2::getNFDInstance(error);
}

const icu::Normalizer2& composer() {
    UErrorCode error = U_ZERO_ERROR;
    return *icu::Normalizer2::getNFCInstance(error);
}

// Accents above, below and through a letter, vowel points of Hebrew, Arabic and Syriac, enclosing
// marks. The combining class tells them from the marks of kana and the Indic and Thai scripts.
bool isAccent(UChar32 character) {
    if (u_charType(character) == U_ENCLOSING_MARK) return true;
    const int combiningClass = u_getCombiningClass(character);
    return combiningClass == 1 || (combiningClass >= 10 && combiningClass <= 36) ||
           combiningClass >= 200;
}

icu::UnicodeString withoutAccents(const icu::UnicodeString& decomposed) {
    icu::UnicodeString result;
    for (int32_t at = 0; at < decomposed.length();) {
        const UChar32 character = decomposed.char32At(at);
        if (!isAccent(character) && isAlphanumeric(static_cast<char32_t>(character))) {
            result.append(character);
        }
        at += U16_LENGTH(character);
    }
    return result;
}

icu::UnicodeString foldedAsWhole(const icu::UnicodeString& word) {
    UErrorCode error = U_ZERO_ERROR;
    const icu::UnicodeString cased = caseFoldingNormalizer().normalize(word, error);
    const icu::UnicodeString decomposed = decomposer().normalize(cased, error);
    icu::UnicodeString result = composer().normalize(withoutAccents(decomposed), error);
    if (U_FAILURE(error) != 0) return {};
    return result;
}

void appendFoldedAsWhole(std::string& result, std::string_view word) {
    const auto piece = icu::StringPiece(word.data(), static_cast<int32_t>(word.size()));
    foldedAsWhole(icu::UnicodeString::fromUTF8(piece)).toUTF8String(result);
}

// Characters below this bound whose folding is looked up; Han and Hangul beyond stay as they are.
constexpr char32_t kTableEnd = 0x3100;

// In these blocks a character never joins with its neighbours in a way that accents, which are
// removed anyway, do not explain; so that it can be folded alone.
bool standsAlone(char32_t character) {
    const bool isKanaMark = character >= 0x3099 && character <= 0x309C;
    return character < 0x0590 || (character >= 0x1E00 && character < 0x2000) ||
           (character >= 0x3041 && character < kTableEnd && !isKanaMark);
}

bool foldsToItself(char32_t character) {
    return (character >= 0x3400 && character <= 0x9FFF) ||
           (character >= 0xAC00 && character <= 0xD7A3);
}

// What the table says of a character: its one folded character, or one of these.
constexpr char32_t kUnknown = 0;
constexpr char32_t kRemoved = 1;
constexpr char32_t kNeedsWholeWord = 2;

char32_t foldingOf(char32_t character) {
    if (!standsAlone(character)) return kNeedsWholeWord;
    const icu::UnicodeString result =
        foldedAsWhole(icu::UnicodeString(static_cast<UChar32>(character)));
    if (result.isEmpty()) return kRemoved;
    const bool isOneUnit = result.length() == 1;
    return isOneUnit ? static_cast<char32_t>(result.char32At(0)) : kNeedsWholeWord;
}

// Filled as characters are met; two threads that meet one at the same time write the same.
char32_t cachedFoldingOf(char32_t character) {
    static std::array<std::atomic<std::uint16_t>, kTableEnd> table{};
    if (foldsToItself(character)) return character;
    if (character >= kTableEnd) return kNeedsWholeWord;
    std::atomic<std::uint16_t>& entry = table[character];
    char32_t folding = entry.load(std::memory_order_relaxed);
    if (folding == kUnknown) {
        folding = foldingOf(character);
        entry.store(static_cast<std::uint16_t>(folding), std::memory_order_relaxed);
    }
    return folding;
}

// False, with `result` as it was, when the word must be folded as a whole.
bool appendFoldedByCharacter(std::string& result, std::string_view word) {
    const std::size_t start = result.size();
    for (std::size_t at = 0; at < word.size();) {
        const auto byte = static_cast<unsigned char>(word[at]);
        if (byte < 0x80) {
            result += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte | 0x20 : byte);
            ++at;
            continue;
        }
        const Utf8Character next = utf8CharacterAt(word, at);
        at += next.bytes;
        if (next.character == kNoCharacter) continue;
        const char32_t folding = cachedFoldingOf(next.character);
        if (folding == kNeedsWholeWord) {
            result.resize(start);
            return false;
        }
        if (folding != kRemoved) appendUtf8(result, folding);
    }
    return true;
}

}  // namespace

void appendFolded(std::string& result, std::string_view word) {
    if (!appendFoldedByCharacter(result, word)) appendFoldedAsWhole(result, word);
}

std::string folded(std::string_view word) {
    std::string result;
    appendFolded(result, word);
    return result;
}

}  // namespace siftwell
