#include "text/HtmlRewrites.h"

#include <gtest/gtest.h>
#include <unicode/unistr.h>

#include "text/TagSoup.h"

namespace siftwell {
namespace {

std::string decoded(std::string text) {
    replaceHTMLEncodedChars(text, {});
    return text;
}

std::string without(std::string text, std::string_view start, std::string_view stop,
                    bool ignoreCase) {
    deleteTagsWithStartDelimiter(text, start, stop, ignoreCase, {});
    return text;
}

TEST(HtmlRewritesTest, NumbersAreDecimalAndCutTo16Bits) {
    EXPECT_EQ(decoded("&#65; &#233; &#65601; &# 66x;"), "A \u00E9 A B");
    EXPECT_EQ(decoded("&#55357; &#-1;"), "\uFFFD \uFFFF");
    EXPECT_EQ(decoded("&#x41; "), std::string("\0 ", 2));
    EXPECT_EQ(decoded("&#65"), "&#65");
    // One beside another stays unless it stands elsewhere too.
    EXPECT_EQ(decoded("&#65;&#66;"), "A&#66;");
    EXPECT_EQ(decoded("&#65;&#66; &#66;"), "AB B");
    EXPECT_EQ(decoded("&#65;&#65;"), "AA");
}

TEST(HtmlRewritesTest, NamesCountTheirCaseAndAreDecodedRowByRow) {
    EXPECT_EQ(decoded("&eacute;&Eacute;&EACUTE;&AMP;"), "\u00E9\u00C9&EACUTE;&AMP;");
    EXPECT_EQ(decoded("&amp;quot; &amp;copy; &amp;amp; &lt;"), "\" &copy; &amp; &lt;");
}

TEST(HtmlRewritesTest, YieldsForEveryNumberMetAndEveryTenthRowWhileAnAmpersandIsLeft) {
    const auto yields = [](std::string text) {
        std::size_t count = 0;
        replaceHTMLEncodedChars(text, [&] { ++count; });
        return count;
    };
    EXPECT_EQ(yields("x"), 1u);
    EXPECT_EQ(yields("&"), 11u);
    EXPECT_EQ(yields("&#65; &#65; &#66; &#67"), 3u + 11u);
    EXPECT_EQ(yields("&eacute;"), 2u);  // row 11 is the last one needed
}

TEST(HtmlRewritesTest, DelimitersAreDecodedOneAfterTheOther) {
    std::string text = "&lt;&gt;&GT;&&gt;lt;";
    std::size_t yields = 0;
    replaceHTMLEncodedDelimiters(text, [&] { ++yields; });
    EXPECT_EQ(text, "<>&GT;&>lt;");
    EXPECT_EQ(yields, 1u);
}

TEST(HtmlRewritesTest, StretchesAreDeletedUntilOneIsNotStopped) {
    EXPECT_EQ(without("a<B>b</b> c<b>", "<b>", "</b>", true), "a  c<b>");
    EXPECT_EQ(without("a<B>b</b>", "<b>", "</b>", false), "a<B>b</b>");
    EXPECT_EQ(without("a <b> <c>d", "<", ">", false), "a    d");
    EXPECT_EQ(without("<!-->x", "<!--", "-->", false), " x");
    EXPECT_EQ(without("aXbxC", "x", "c", true), "a ");
}

std::u16string utf16(const std::string& text) {
    const auto units = icu::UnicodeString::fromUTF8(text);
    return {units.getBuffer(), static_cast<std::size_t>(units.length())};
}

// The rule as it is said, on UTF-16.
std::u16string slowlyDecoded(std::u16string text, std::size_t& yields) {
    for (std::size_t at = 0; (at = text.find(u"&#", at)) != std::u16string::npos; at += 2) {
        ++yields;
        const std::size_t end = text.find(u';', at);
        if (end == std::u16string::npos) break;
        const std::u16string entity = text.substr(at, end + 1 - at);
        unsigned number = 0;
        for (std::size_t i = 2; i < entity.size() && entity[i] >= '0' && entity[i] <= '9'; ++i) {
            number = number * 10 + (entity[i] - u'0');
        }
        for (std::size_t i = 0; (i = text.find(entity, i)) != std::u16string::npos; ++i) {
            text.replace(i, entity.size(), 1, static_cast<char16_t>(number));
        }
    }
    return text;
}

TEST(HtmlRewritesTest, NumbersAreDecodedAsTheRuleSaysInAnyTextWhoseEntitiesStayApart) {
    TagSoup soup(2, {"&#65;", "&#66;", "&#8364;", "&#0000000067;", "&#\u00E9;", "&#1\U0001F600;",
                     "&#;", "&#70000;", "x", "yy", ";", "\u00E9", "\U0001F600"});
    for (int round = 0; round < 20000; ++round) {
        std::string text = soup.text(40) + (round % 3 == 0 ? "&#65" : "");
        std::size_t expectedYields = 0;
        const std::u16string expected = slowlyDecoded(utf16(text), expectedYields);
        std::size_t yields = 0;
        const std::string original = text;
        replaceNumericEntities(text, [&] { ++yields; });
        ASSERT_EQ(utf16(text), expected) << original;
        ASSERT_EQ(yields, expectedYields) << original;
    }
}

}  // namespace
}  // namespace siftwell
