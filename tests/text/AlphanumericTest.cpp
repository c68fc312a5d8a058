#include "text/Alphanumeric.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include "text/TagSoup.h"
#include "text/Utf8.h"

namespace siftwell {
namespace {

std::string reduced(std::string text) {
    reduceToAlphanumeric(text, {});
    return text;
}

TEST(AlphanumericTest, WhatIsNoLetterMarkOrNumberOrNoCharacterAtAllBecomesOneSpace) {
    EXPECT_EQ(reduced("it's <b>, 2\u00BD \u2162!"), "it s  b   2\u00BD \u2162 ");
    EXPECT_EQ(reduced("cafe\u0301\u2014\u65E5\u672C\u3002\U0001F600\U00020000"),
              "cafe\u0301 \u65E5\u672C  \U00020000");
    EXPECT_EQ(reduced("a\xFF\xC3(b\xE2\x82"), "a   b  ");
    EXPECT_EQ(reduced("\xED\xA0\x80z\xC0\x80"), "   z  ");
}

std::string slowlyReduced(const std::string& text, std::size_t& replacements) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const Utf8Character next = utf8CharacterAt(text, at);
        if (next.character != kNoCharacter && (U_GET_GC_MASK(UChar32(next.character)) &
                                               (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0) {
            result += text.substr(at, next.bytes);
        } else {
            result += ' ';
            ++replacements;
        }
        at += next.bytes;
    }
    return result;
}

TEST(AlphanumericTest, AnyTextIsReducedCharacterByCharacterWithAYieldForEveryHundredSpaces) {
    using namespace std::string_literals;
    TagSoup soup(5, {"a",          "Z",          "0",       "9",        " ",    "@",
                     "[",          "`",          "{",       "/",        ":",    "\x7F",
                     "\u00E9",     "\u65E5",     "\u2014",  "\u00D7",   "\xFF", "\xE2\x82",
                     "\U0001F600", "\U00020000", "letters", "in words", "\0"s});
    for (int round = 0; round < 3000; ++round) {
        std::string text = soup.text(300);
        std::size_t replacements = 0;
        const std::string expected = slowlyReduced(text, replacements);
        std::size_t yields = 0;
        reduceToAlphanumeric(text, [&] { ++yields; });
        ASSERT_EQ(text, expected);
        ASSERT_EQ(yields, (replacements + 99) / 100);
    }
}

}  // namespace
}  // namespace siftwell
