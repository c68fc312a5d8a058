// The words of any text. Each is what folding its place in the text gives; folding gives nothing
// new the second time, and does not depend on what stands around a letter that joins with nothing.

#include <string>
#include <vector>

#include "Require.h"
#include "text/Characters.h"
#include "text/Folding.h"
#include "text/NormalForm.h"
#include "text/Segmentation.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"
#include "text/Words.h"

namespace {

using namespace siftwell;
using fuzz::require;

constexpr std::size_t kMaxPieceBytes = 1024;  // of a longer word only so much is folded

bool hasUnblankedCharacter(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const Utf8Character next = utf8CharacterAt(text, at);
        if (isWrittenWithoutBlanks(next.character)) return true;
        at += next.bytes;
    }
    return false;
}

void checkWords(std::string_view text) {
    std::size_t end = 0;
    for (WordScanner scanner(text); scanner.next(); end = scanner.end()) {
        require(end <= scanner.begin() && scanner.begin() < scanner.end());
        require(scanner.end() <= text.size());
        const std::string_view word = scanner.word();
        require(!word.empty() && word.size() <= kMaxWordBytes && isValidUtf8(word));
        const auto place = text.substr(scanner.begin(), scanner.end() - scanner.begin());
        require(isValidUtf8(place));
        require(word == utf8Prefix(folded(utf8Prefix(place, kMaxPieceBytes)), kMaxWordBytes));

        // A word of a query is found in a text that holds it, whatever it looked like there.
        if (hasUnblankedCharacter(word)) continue;
        const std::string asTyped(word);
        WordScanner again(asTyped);
        require(again.next() && again.word() == word && !again.next());
    }
}

void checkFolding(const std::string& word) {
    const std::string once = folded(word);
    require(isValidUtf8(once) && folded(once) == once);
    // An Indic letter, which has no table entry, so that the word is folded as a whole.
    const std::string letter = "\u0915";
    require(folded(word + letter) == once + letter);
}

// What words are made of.
std::string withoutSeparators(std::string_view text) {
    std::string word;
    for (std::size_t at = 0; at < text.size();) {
        const Utf8Character next = utf8CharacterAt(text, at);
        if (next.character != kNoCharacter && isAlphanumeric(next.character)) {
            word += text.substr(at, next.bytes);
        }
        at += next.bytes;
    }
    return word;
}

void checkSegmentation(const std::string& text) {
    std::size_t before = 0;
    for (const std::size_t end : wordEnds(text)) {
        require(end > before && isValidUtf8(std::string_view(text).substr(before, end - before)));
        before = end;
    }
    require(before == text.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = fuzz::asText(data, size);
    checkWords(input);
    const std::string repaired = repairedUtf8(input);
    require(isValidUtf8(repaired) && (repaired == input) == isValidUtf8(input));
    checkFolding(withoutSeparators(input));
    checkSegmentation(repaired);
    require(composed(composed(repaired)) == composed(repaired));
    require(isValidUtf8(utf8Prefix(repaired, repaired.size() / 2)));
    return 0;
}
