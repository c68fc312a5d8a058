#include "text/Words.h"

#include <gmock/gmock.h>

#include <random>

#include "text/Characters.h"
#include "text/Folding.h"
#include "text/Segmentation.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class WordsTest : public testing::Test {
protected:
    struct Place {
        std::size_t begin;
        std::size_t end;
        std::string word;

        bool operator==(const Place&) const = default;
    };

    static std::vector<Place> places(std::string_view text) {
        std::vector<Place> found;
        for (WordScanner scanner(text); scanner.next();) {
            found.push_back({scanner.begin(), scanner.end(), std::string(scanner.word())});
        }
        return found;
    }

    static std::vector<std::string> words(std::string_view text) {
        std::vector<std::string> found;
        for (Place& place : places(text)) found.push_back(std::move(place.word));
        return found;
    }

    static std::string repeated(const std::string& text, int times) {
        std::string result;
        for (int i = 0; i < times; ++i) result += text;
        return result;
    }

    // The same by looking at one character after another.
    static std::vector<Place> slowPlaces(const std::string& text);

private:
    static void appendPiece(std::vector<Place>& found, const std::string& text, std::size_t begin,
                            std::size_t end);
    static void appendRun(std::vector<Place>& found, const std::string& text, std::size_t begin,
                          std::size_t end);
};

void WordsTest::appendPiece(std::vector<Place>& found, const std::string& text, std::size_t begin,
                            std::size_t end) {
    const std::string whole = folded(text.substr(begin, end - begin));
    if (!whole.empty()) found.push_back({begin, end, std::string(utf8Prefix(whole, 64))});
}

void WordsTest::appendRun(std::vector<Place>& found, const std::string& text, std::size_t begin,
                          std::size_t end) {
    while (begin < end) {
        const char32_t first = utf8CharacterAt(text, begin).character;
        const bool isUnblanked = isWrittenWithoutBlanks(first);
        std::size_t at = begin;
        do {
            at += utf8CharacterAt(text, at).bytes;
            const char32_t next = at < end ? utf8CharacterAt(text, at).character : 0;
            if (!isMark(next) && isWrittenWithoutBlanks(next) != isUnblanked) break;
        } while (at < end);
        if (isUnblanked) {
            std::size_t before = begin;
            for (const std::size_t pieceEnd : wordEnds(text.substr(begin, at - begin))) {
                appendPiece(found, text, before, begin + pieceEnd);
                before = begin + pieceEnd;
            }
        } else {
            appendPiece(found, text, begin, at);
        }
        begin = at;
    }
}

std::vector<WordsTest::Place> WordsTest::slowPlaces(const std::string& text) {
    std::vector<Place> found;
    std::size_t runBegin = 0;
    for (std::size_t at = 0; at <= text.size();) {
        const Utf8Character next = at < text.size() ? utf8CharacterAt(text, at) : Utf8Character();
        if (next.character == kNoCharacter || !isAlphanumeric(next.character)) {
            appendRun(found, text, runBegin, at);
            runBegin = at + next.bytes;
        }
        at += next.bytes;
    }
    return found;
}

TEST_F(WordsTest, WordsAreRunsOfLettersMarksAndDigits) {
    EXPECT_THAT(words("The quick-brown FOX's x2_y: 3.14"),
                ElementsAre("the", "quick", "brown", "fox", "s", "x2", "y", "3", "14"));
    EXPECT_THAT(words("a\u00A0b\u2014c\u2026d\u200Be\u3000f"),
                ElementsAre("a", "b", "c", "d", "e", "f"));
    EXPECT_THAT(words("na\u0308ive \u0301stray Ünï\u2028CAFÉ"),
                ElementsAre("naive", "stray", "uni", "cafe"));
    EXPECT_THAT(words(" -- \u00AB\u00BB \U0001F350 \u0301"), IsEmpty());
    EXPECT_THAT(words(""), IsEmpty());
}

TEST_F(WordsTest, PlacesAreThoseOfTheTextAsItWas) {
    EXPECT_THAT(places("Ünï (x) 1é"),
                ElementsAre(Place{0, 5, "uni"}, Place{7, 8, "x"}, Place{10, 13, "1e"}));
    EXPECT_THAT(places("ok東京"), ElementsAre(Place{0, 2, "ok"}, Place{2, 8, "東京"}));
}

TEST_F(WordsTest, ScriptsWithoutBlanksAreDividedAndOthersAreNot) {
    EXPECT_THAT(words("東京iPhone15を"), ElementsAre("東京", "iphone15", "を"));
    EXPECT_THAT(words("ภาษาไทย"), ElementsAre("ภาษา", "ไทย"));
    EXPECT_THAT(words("中华人民共和国 中华"), testing::Contains("中华"));
    EXPECT_THAT(words("コーヒー、コーヒ\u30FC"), ElementsAre("コーヒー", "コーヒー"));
    EXPECT_THAT(words("한국어사전 हिन्दी"), ElementsAre("한국어사전", "हिन्दी"));
}

TEST_F(WordsTest, LongWordsAreCutBetweenCharactersAndTheNextWordIsFound) {
    for (const std::string character : {"a", "é", "я", "ड", "𝒳", "ß", "\u0BCD"}) {
        const std::string longWord = repeated(character, 3000);
        const auto found = words("x" + longWord + " next");
        ASSERT_EQ(found.size(), 2U) << character;
        EXPECT_GT(found[0].size(), kMaxWordBytes - 4) << character;
        EXPECT_LE(found[0].size(), kMaxWordBytes) << character;
        EXPECT_TRUE(("x" + folded(longWord)).starts_with(found[0])) << character;
        EXPECT_EQ(found[1], "next");
    }
}

TEST_F(WordsTest, LongStretchIsDividedToItsEnd) {
    const std::string text = repeated("東京都に住む", 500);
    std::size_t end = 0;
    for (const Place& place : places(text)) {
        EXPECT_EQ(place.begin, end);
        end = place.end;
    }
    EXPECT_EQ(end, text.size());
}

TEST_F(WordsTest, MalformedBytesSeparate) {
    EXPECT_THAT(words("a\xC3 b\xE2\x82"), ElementsAre("a", "b"));
    EXPECT_THAT(words("x\xF0\x9F\x8Dy\x80z\xFF"), ElementsAre("x", "y", "z"));
    EXPECT_THAT(words("k\xED\xA0\x80l\xC0\x80m\xF4\x90\x80\x80n"), ElementsAre("k", "l", "m", "n"));
    EXPECT_THAT(words("\xC3\xA9\xC3"), ElementsAre("e"));
}

TEST_F(WordsTest, ScanAgreesWithASlowOneOverRandomText) {
    const std::vector<std::string> pieces = {"a",
                                             "Z",
                                             "9",
                                             "word",
                                             " ",
                                             ".",
                                             "é",
                                             "E\u0301",
                                             "\u0323",
                                             "ﬁ",
                                             "я",
                                             "が",
                                             "\u3099",
                                             "ー",
                                             "東京",
                                             "ไทย",
                                             "한",
                                             "\u1100",
                                             "\u1161",
                                             "ع",
                                             "\u064E",
                                             "हि",
                                             "\u200D",
                                             "½",
                                             "𝒳",
                                             "\xC3",
                                             "\xE2\x82",
                                             "\x80",
                                             "\xF0\x9F\x8D\x90",
                                             "\xED\xA0\x80"};
    std::mt19937 random(11);
    std::uniform_int_distribution<std::size_t> any(0, pieces.size() - 1);
    for (int round = 0; round < 3000 && !HasFailure(); ++round) {
        std::string text;
        for (int i = 0; i < 12; ++i) text += pieces[any(random)];
        EXPECT_TRUE(places(text) == slowPlaces(text)) << testing::PrintToString(text);
    }
}

TEST_F(WordsTest, CharactersAreCountedNotBytes) {
    EXPECT_EQ(characterCount(""), 0U);
    EXPECT_EQ(characterCount("aé東🍐"), 4U);
}

TEST(CharactersTest, ScriptsWithoutBlanksAreKnown) {
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
