#include "text/Words.h"

#include <gmock/gmock.h>

#include "text/Characters.h"
#include "text/Folding.h"
#include "text/Segmentation.h"
#include "text/TagSoup.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Place {
    std::size_t begin;
    std::size_t end;
    std::string word;

    bool operator==(const Place&) const = default;
};
using Places = std::vector<Place>;

Places places(std::string_view text) {
    Places found;
    for (WordScanner scanner(text); scanner.next();) {
        found.push_back({scanner.begin(), scanner.end(), std::string(scanner.word())});
    }
    return found;
}

std::vector<std::string> words(std::string_view text) {
    std::vector<std::string> found;
    for (Place& place : places(text)) found.push_back(std::move(place.word));
    return found;
}

std::string repeated(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) result += text;
    return result;
}

// The same by looking at one character after another.
Places slowPlaces(const std::string& text) {
    Places found;
    std::size_t begin = 0;  // of a stretch without separators, in one kind of script
    const auto isUnblankedAt = [&](std::size_t at) {
        return isWrittenWithoutBlanks(utf8CharacterAt(text, at).character);
    };
    const auto endStretch = [&](std::size_t end) {
        std::vector<std::size_t> ends = {end - begin};
        if (isUnblankedAt(begin)) ends = wordEnds(text.substr(begin, end - begin));
        std::size_t before = begin;
        for (const std::size_t length : ends) {
            const std::string word = folded(text.substr(before, begin + length - before));
            const std::size_t after = begin + length;
            if (!word.empty()) found.push_back({before, after, std::string(utf8Prefix(word, 64))});
            before = after;
        }
        begin = end;
    };
    for (std::size_t at = 0; at < text.size();) {
        const auto [character, bytes] = utf8CharacterAt(text, at);
        const bool separates = character == kNoCharacter || !isAlphanumeric(character);
        const bool changes = !isMark(character) && isUnblankedAt(at) != isUnblankedAt(begin);
        if (at > begin && (separates || changes)) endStretch(at);
        at += bytes;
        if (separates) begin = at;
    }
    if (begin < text.size()) endStretch(text.size());
    return found;
}

TEST(WordsTest, WordsAreRunsOfLettersMarksAndDigits) {
    EXPECT_THAT(words("The quick-brown FOX's x2_y: 3.14"),
                ElementsAre("the", "quick", "brown", "fox", "s", "x2", "y", "3", "14"));
    EXPECT_THAT(words("a\u00A0b\u2014c\u2026d\u200Be\u3000f"),
                ElementsAre("a", "b", "c", "d", "e", "f"));
    EXPECT_THAT(words("na\u0308ive \u0301stray Ünï\u2028CAFÉ"),
                ElementsAre("naive", "stray", "uni", "cafe"));
    EXPECT_THAT(words(" -- \u00AB\u00BB \U0001F350 \u0301"), IsEmpty());
    EXPECT_THAT(words(""), IsEmpty());
}

TEST(WordsTest, PlacesAreThoseOfTheTextAsItWas) {
    EXPECT_THAT(places("Ünï (x) 1é"),
                ElementsAre(Place{0, 5, "uni"}, Place{7, 8, "x"}, Place{10, 13, "1e"}));
    EXPECT_THAT(places("ok東京"), ElementsAre(Place{0, 2, "ok"}, Place{2, 8, "東京"}));
}

TEST(WordsTest, ScriptsWithoutBlanksAreDividedAndOthersAreNot) {
    EXPECT_THAT(words("東京iPhone15を"), ElementsAre("東京", "iphone15", "を"));
    EXPECT_THAT(words("ภาษาไทย"), ElementsAre("ภาษา", "ไทย"));
    EXPECT_THAT(words("中华人民共和国 中华"), testing::Contains("中华"));
    EXPECT_THAT(words("コーヒー、コーヒ\u30FC"), ElementsAre("コーヒー", "コーヒー"));
    EXPECT_THAT(words("한국어사전 हिन्दी"), ElementsAre("한국어사전", "हिन्दी"));
}

TEST(WordsTest, LongWordsAreCutBetweenCharactersAndLongStretchesDividedToTheirEnd) {
    for (const std::string character : {"a", "é", "я", "ड", "𝒳", "ß", "\u0BCD"}) {
        const std::string longWord = repeated(character, 3000);
        const auto found = words("x" + longWord + " next");
        ASSERT_EQ(found.size(), 2U) << character;
        EXPECT_GT(found[0].size(), kMaxWordBytes - 4) << character;
        EXPECT_LE(found[0].size(), kMaxWordBytes) << character;
        EXPECT_TRUE(("x" + folded(longWord)).starts_with(found[0])) << character;
        EXPECT_EQ(found[1], "next");
    }
    const std::string unblanked = repeated("東京都に住む", 500);
    std::size_t end = 0;
    for (const Place& place : places(unblanked)) {
        EXPECT_EQ(std::exchange(end, place.end), place.begin);
    }
    EXPECT_EQ(end, unblanked.size());
}

TEST(WordsTest, MalformedBytesSeparate) {
    EXPECT_THAT(words("a\xC3 b\xE2\x82"), ElementsAre("a", "b"));
    EXPECT_THAT(words("x\xF0\x9F\x8Dy\x80z\xFF"), ElementsAre("x", "y", "z"));
    EXPECT_THAT(words("k\xED\xA0\x80l\xC0\x80m\xF4\x90\x80\x80n"), ElementsAre("k", "l", "m", "n"));
    EXPECT_THAT(words("\xC3\xA9\xC3"), ElementsAre("e"));
}

TEST(WordsTest, ScanAgreesWithASlowOneOverRandomText) {
    TagSoup allScripts(
        11, {"a",      "Z",    "9",       "word",     " ",      ".",           "é",      "я",
             "ﬁ",      "½",    "が",      "ー",       "東京",   "한",          "ไทย",    "हि",
             "ع",      "𝒳",    "E\u0301", "\u0323",   "\u3099", "\u1100",      "\u1161", "\u064E",
             "\u200D", "\xC3", "\x80",    "\xE2\x82", "🍐",      "\xED\xA0\x80"});
    // Plain words lie at all places of the stretches that are looked at together.
    TagSoup mostlyPlain(12, {"a", "of", "word", "thirteenbytes", repeated("x", 61), " ", " ", " ",
                             ". ", " E", "é", repeated(" ", 62), "\xC3"});
    for (int round = 0; round < 3000 && !HasFailure(); ++round) {
        for (const std::string& text : {allScripts.text(25), mostlyPlain.text(60)}) {
            EXPECT_TRUE(places(text) == slowPlaces(text)) << testing::PrintToString(text);
        }
    }
}

TEST(CharactersTest, AreCountedAndKnownByTheirScripts) {
    EXPECT_EQ(characterCount("aé東🍐"), 4U);
    for (const char32_t character : U"東ひカーไລខမ々") {
        if (character != 0)
            EXPECT_TRUE(isWrittenWithoutBlanks(character)) << std::uint32_t{character};
    }
    for (const char32_t character : U"aé한яहع𝒳.\u0301") {
        EXPECT_FALSE(isWrittenWithoutBlanks(character)) << std::uint32_t{character};
    }
    EXPECT_TRUE(isMark(U'\u0301') && isMark(U'\u3099') && isMark(U'\u20DD'));
    EXPECT_FALSE(isMark(U'a') || isMark(U'ー') || isMark(kNoCharacter));
}

}  // namespace
}  // namespace siftwell
