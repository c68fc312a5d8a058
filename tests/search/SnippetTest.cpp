#include "search/Snippet.h"

#include <gmock/gmock.h>

#include <random>

#include "text/DisplayWidth.h"
#include "text/Utf8.h"

namespace siftwell {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

const std::set<std::string> kStopWords = {"the", "of"};

Snippet snippet(std::string_view query, std::string_view text, std::size_t columns = 60) {
    return SnippetMaker(query, kStopWords).snippetOf(text, columns);
}

// With brackets around what was found.
std::string marked(std::string_view query, std::string_view text, std::size_t columns = 60) {
    const Snippet found = snippet(query, text, columns);
    std::string result;
    std::size_t at = 0;
    for (const Snippet::Range& match : found.matches) {
        result += found.text.substr(at, match.begin - at);
        result += "[" + found.text.substr(match.begin, match.end - match.begin) + "]";
        at = match.end;
    }
    return result + found.text.substr(at);
}

std::size_t widthOf(std::string_view text) {
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size(); at += utf8CharacterAt(text, at).bytes) {
        width += columnsOf(utf8CharacterAt(text, at).character);
    }
    return width;
}

TEST(SnippetTest, WordsAreFoundAsTheEngineFindsThem) {
    EXPECT_EQ(marked("cafe", "Un CAFÉ, deux cafés, un Café"), "Un [CAFÉ], deux cafés, un [Café]");
    EXPECT_EQ(marked("*afe*", "Un café, deux cafés"), "Un [café], deux [cafés]");
    EXPECT_EQ(marked("pre* & *fix", "prefix suffix previous"), "[prefix] [suffix] [previous]");
    EXPECT_EQ(marked("e-mail", "An e-mail, an email, an E MAIL"),
              "An [e-mail], an email, an [E MAIL]");
    EXPECT_EQ(marked("\"end of the line\"", "end line, end of the line"),
              "end line, [end of the line]");
    EXPECT_EQ(marked("apple !pear", "pear apple the"), "pear [apple] the");
    EXPECT_EQ(marked("apple | pear", "pear, apple"), "[pear], [apple]");
    EXPECT_EQ(marked("日本語", "これは日本語の文章です。"), "これは[日本語]の文章です。");
    EXPECT_EQ(marked("ΣΊΣΥΦΟΣ", "ο Σίσυφος"), "ο [Σίσυφος]");
    EXPECT_EQ(marked("the", "the text"), "the text");
    EXPECT_EQ(marked("", "the text"), "the text");
}

TEST(SnippetTest, PassageShowsWhereMostOfTheWordsStand) {
    std::string filler;
    for (int i = 0; i < 2000; ++i) filler += "lorem ipsum ";
    EXPECT_EQ(marked("apple", filler + "an apple a day " + filler),
              "… lorem ipsum an [apple] a day lorem ipsum lorem ipsum …");
    EXPECT_EQ(marked("apple", "An apple. " + filler),
              "An [apple]. lorem ipsum lorem ipsum lorem ipsum lorem …");
    EXPECT_EQ(marked("apple", filler + "an apple"),
              "… lorem ipsum lorem ipsum lorem ipsum lorem ipsum an [apple]");
    const std::string both =
        marked("apple pear", "one apple " + filler + "one pear" + filler + "pear apple " + filler);
    EXPECT_THAT(both, HasSubstr("[pear] [apple]"));
    EXPECT_EQ(marked("apple pear", filler + "red pear " + filler + "green apple " + filler, 70),
              "… red [pear] lorem ipsum lorem … green [apple] lorem ipsum lorem …");
    const std::string none = marked("apple", filler);
    EXPECT_THAT(none, StartsWith("lorem ipsum"));
    EXPECT_THAT(none, EndsWith(" …"));
}

TEST(SnippetTest, NothingButReadableCharactersInOneLine) {
    EXPECT_EQ(marked("apple", "  an\r\n\t\v apple\x1B[31m\x7F red\u2028\u00A0day \n"),
              "an [apple] [31m red day");
    EXPECT_EQ(marked("apple", "a\xFF\xC3 apple"), "a\uFFFD\uFFFD [apple]");
    EXPECT_EQ(marked("apple", std::string("\0 apple\0", 8)), "[apple]");
    EXPECT_EQ(marked("apple", ""), "");
}

// Long words, long gaps, marks without end, malformed bytes.
TEST(SnippetTest, WhateverTheTextItIsShortAndWhole) {
    const std::vector<std::string> pieces = {"apple",
                                             " ",
                                             "\n\n",
                                             "äöü",
                                             "日本語",
                                             "\u0301",
                                             "\xFF",
                                             "\xE6\x97",
                                             "x",
                                             "🍎🍏",
                                             ".",
                                             "pear",
                                             "\u200B",
                                             std::string(300, ' '),
                                             std::string(100, 'y')};
    std::mt19937 random(8);
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (auto count = random() % 60; count > 0; --count)
            text += pieces[random() % pieces.size()];
        const std::size_t columns = random() % 100;
        const Snippet found = snippet("apple | *y* | 日本語 | \"pear x\"", text, columns);
        EXPECT_TRUE(isValidUtf8(found.text));
        EXPECT_LE(widthOf(found.text), std::max<std::size_t>(columns, 7)) << text;
        std::size_t end = 0;
        for (const Snippet::Range& match : found.matches) {
            EXPECT_LE(end, match.begin);
            ASSERT_LT(match.begin, match.end);
            ASSERT_LE(match.end, found.text.size());
            end = match.end;
            EXPECT_TRUE(isValidUtf8(found.text.substr(match.begin, match.end - match.begin)));
        }
    }
    std::string words;
    while (words.size() < 1'000'000) words += "apple ";
    for (const std::string& text : {words, std::string(1'000'000, 'a'), std::string(1'000'000, ' '),
                                    std::string(1'000'000, '\xCC')}) {
        EXPECT_LE(snippet("apple pear *a* \"apple apple\"", text).text.size(), 200U);
    }
}

}  // namespace
}  // namespace siftwell
