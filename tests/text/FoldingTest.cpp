#include "text/Folding.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include "text/NormalForm.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {
namespace {

std::string utf8(char32_t character) {
    std::string text;
    appendUtf8(text, character);
    return text;
}

TEST(FoldingTest, WhatPeopleTypeAlikeIsAlike) {
    for (const char* word : {"cafe", "CAFÉ", "Cafe\u0301", "ｃａｆé", "𝓬𝓪𝓯𝓮"}) {
        EXPECT_EQ(folded(word), "cafe") << word;
    }
    EXPECT_EQ(folded("Straße"), folded("STRASSE"));
    EXPECT_EQ(folded("ﬁlm"), "film");
    EXPECT_EQ(folded("Ⅷ"), "viii");
    EXPECT_EQ(folded("İstanbul"), "istanbul");
    EXPECT_EQ(folded("ΟΔΟΣ"), folded("οδός"));
    EXPECT_EQ(folded("ệ"), "e");
    EXPECT_EQ(folded("ｶﾞｲﾄﾞ"), folded("ガイド"));
    EXPECT_EQ(folded("か\u3099"), "が");
    EXPECT_EQ(folded("\u1100\u1161"), "가");
    EXPECT_EQ(folded("شَمْس"), folded("شمس"));
    EXPECT_EQ(folded("שָׁלוֹם"), folded("שלום"));
}

TEST(FoldingTest, MarksThatMakeAnotherLetterStay) {
    EXPECT_NE(folded("が"), folded("か"));
    EXPECT_NE(folded("パリ"), folded("ハリ"));
    EXPECT_NE(folded("ไม้"), folded("ไม"));
    EXPECT_NE(folded("हिन्दी"), folded("हनद"));
    EXPECT_NE(folded("ø"), folded("o"));
}

TEST(FoldingTest, MalformedBytesAndWhatIsNoLetterAreDropped) {
    EXPECT_EQ(folded("a\xC3"), "a");
    EXPECT_EQ(folded("a\xFF\xC3\xA9"), "ae");
    EXPECT_EQ(folded("\u0301"), "");
    EXPECT_EQ(folded("½"), "12");
    std::string result = "kept";
    appendFolded(result, "Ä");
    EXPECT_EQ(result, "kepta");
}

TEST(FoldingTest, AnyLetterFoldsLikeItsSmallOneAndAloneAsInAWordAndTwiceAsOnce) {
    // It joins with nothing, and takes the way by which whole words are folded.
    const std::string indicLetter = "\u0915";
    for (char32_t character = 0; character < 0x30000; ++character) {
        if (!isAlphanumeric(character)) continue;
        const auto point = static_cast<UChar32>(character);
        const std::string once = folded(utf8(character));
        EXPECT_EQ(folded(utf8(static_cast<char32_t>(u_tolower(point)))), once) << std::hex << point;
        EXPECT_TRUE(isValidUtf8(once));
        EXPECT_EQ(folded(once), once) << std::hex << point;
        EXPECT_EQ(folded(utf8(character) + indicLetter), once + indicLetter) << std::hex << point;
    }
}

TEST(NormalFormTest, TextIsComposedUnlessItIsMalformed) {
    EXPECT_EQ(composed("e\u0301 \u1112\u1161\u11AB"), "é 한");
    EXPECT_EQ(composed("e\u0301\xFF"), "e\u0301\xFF");
    EXPECT_EQ(composed("ﬁ"), "ﬁ");
}

TEST(Utf8PrefixTest, NoCharacterIsCut) {
    const std::string text = "aé東🍐";
    const std::size_t expected[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 10};
    for (std::size_t max = 0; max < std::size(expected); ++max) {
        EXPECT_EQ(utf8Prefix(text, max), text.substr(0, expected[max])) << max;
    }
    EXPECT_LE(utf8Prefix("\x80\x80\x80", 2).size(), 2U);
}

TEST(Utf8PrefixTest, EveryMalformedByteIsReplaced) {
    EXPECT_EQ(repairedUtf8("aé"), "aé");
    EXPECT_EQ(repairedUtf8("a\xC3z\x80"), "a\uFFFDz\uFFFD");
    EXPECT_EQ(repairedUtf8("\xE2\x82"), "\uFFFD\uFFFD");
    EXPECT_EQ(repairedUtf8("\xED\xA0\x80\xC0\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
}

}  // namespace
}  // namespace siftwell
