#include "text/Encodings.h"

#include <gmock/gmock.h>

#include "text/TagSoup.h"
#include "text/Utf8.h"

namespace siftwell {
namespace {

using testing::Optional;

using Text = std::optional<std::string>;

Text decode(const std::string& name, std::string_view bytes) {
    const auto encoding = encodingForEncodingName(name);
    return encoding ? encoding->decode(bytes) : std::nullopt;
}

TEST(EncodingsTest, NamesAreKnownWithTheirAliases) {
    for (const std::string name : {"utf-8", "UTF-8", "utf8", "Utf-8 /"}) {
        EXPECT_EQ(encodingForEncodingName(name), Encoding::utf8()) << name;
    }
    for (const std::string name : {"iso-8859-1", "latin1", "ISO_8859-1", "l1", ""}) {
        EXPECT_EQ(encodingForEncodingName(name), Encoding::latin1()) << name;
    }
    EXPECT_EQ(encodingForEncodingName(std::nullopt), Encoding::latin1());
    EXPECT_EQ(encodingForEncodingName("no-such-set"), std::nullopt);
    EXPECT_EQ(encodingForEncodingName("utf-8,locale=x"), std::nullopt);
    EXPECT_EQ(encodingForEncodingName(std::string(100'000, 'x')), std::nullopt);
}

TEST(EncodingsTest, OneTextComesOutOfAllItsEncodings) {
    const Text japanese = "\u65E5\u672C";
    EXPECT_EQ(decode("shift_jis", "\x93\xFA\x96\x7B"), japanese);
    EXPECT_EQ(decode("euc-jp", "\xC6\xFC\xCB\xDC"), japanese);
    EXPECT_EQ(decode("gb2312", "\xC8\xD5\xB1\xBE"), japanese);
    EXPECT_EQ(decode("big5", "\xA4\xE9\xA5\xBB"), japanese);
    EXPECT_EQ(decode("iso-2022-jp", "\x1B$BF|K\\\x1B(B"), japanese);
    EXPECT_EQ(decode("utf-16le", std::string_view("\xE5\x65\x2C\x67", 4)), japanese);
    EXPECT_EQ(decode("windows-1252", "\x80\x93"), Text("\u20AC\u201C"));
    EXPECT_EQ(decode("iso-8859-1", "\x80\xE9"), Text("\u0080\u00E9"));
    EXPECT_EQ(decode("gb2312", "\x81\x40"), Text("\u4E02"));  // only in its superset
}

TEST(EncodingsTest, BytesThatTheEncodingDoesNotAllowAreNotRepaired) {
    EXPECT_EQ(decode("utf-8", "a\xFFz"), std::nullopt);
    EXPECT_EQ(decode("utf-8", "\xED\xA0\x80"), std::nullopt);
    EXPECT_EQ(decode("utf-8", "\xF4\x90\x80\x80"), std::nullopt);
    EXPECT_EQ(decode("utf-8", "\xC0\x80"), std::nullopt);
    EXPECT_EQ(decode("utf-8", "\u65E5\xE6\x97"), std::nullopt);
    EXPECT_EQ(decode("shift_jis", "\x93"), std::nullopt);
    EXPECT_EQ(decode("us-ascii", "\xE9"), std::nullopt);
    EXPECT_EQ(decode("utf-16le", std::string_view("\x00\xD8", 2)), std::nullopt);
}

TEST(EncodingsTest, ByteOrderMarkIsDroppedAtTheFrontOnly) {
    EXPECT_EQ(decode("utf-8", "\uFEFFa\uFEFF"), Text("a\uFEFF"));
    EXPECT_EQ(decode("utf-16", std::string_view("\xFF\xFE"
                                                "a\0",
                                                4)),
              Text("a"));
    EXPECT_EQ(decode("utf-16be", std::string_view("\xFE\xFF\0a", 4)), Text("a"));
}

TEST(EncodingsTest, PageIsReadByItsResponseAndThenByItsOwnDeclaration) {
    const std::string declared = "<meta charset=\"utf-8\">\u00E9";
    EXPECT_EQ(decodePage("\u00E9", "utf-8"), Text("\u00E9"));
    EXPECT_EQ(decodePage("\u00E9", std::nullopt), Text("\u00C3\u00A9"));
    EXPECT_EQ(decodePage(declared, std::nullopt), Text(declared));
    EXPECT_EQ(decodePage(declared, "iso-8859-1"), Text(declared));
    EXPECT_EQ(decodePage("<meta charset=shift_jis>\x93\xFA", "utf-8"),
              Text("<meta charset=shift_jis>\u65E5"));
}

TEST(EncodingsTest, PageWhoseEncodingsFailIsLatin1) {
    EXPECT_EQ(decodePage("\xE9", "utf-8"), Text("\u00E9"));
    EXPECT_EQ(decodePage("\xE9", "no-such-set"), Text("\u00E9"));
    EXPECT_EQ(decodePage("<meta charset=\"utf-8\">\xE9", "utf-8"),
              Text("<meta charset=\"utf-8\">\u00E9"));
    EXPECT_EQ(decodePage("<meta charset=\"klingon\">\xE9", std::nullopt),
              Text("<meta charset=\"klingon\">\u00E9"));
    EXPECT_EQ(decodePage("", "utf-8"), std::nullopt);
    EXPECT_EQ(decodePage("\xEF\xBB\xBF", "utf-8"), std::nullopt);
}

TEST(EncodingsTest, CachedObjectWhoseEncodingFailsHasNoText) {
    EXPECT_EQ(decodeCachedObject("\xE9", "utf-8"), std::nullopt);
    EXPECT_EQ(decodeCachedObject("\xE9", std::nullopt), Text("\u00E9"));
    EXPECT_EQ(decodeCachedObject("<meta charset=\"utf-8\">\u00E9", ""),
              Text("<meta charset=\"utf-8\">\u00E9"));
}

TEST(EncodingsTest, GuessGoesByTheMarkInTheFirstFourBytes) {
    EXPECT_EQ(stringByGuessingEncodingFromData("\xEF\xBB\xBF\xC3\xA9"), Text("\u00E9"));
    EXPECT_EQ(stringByGuessingEncodingFromData("\xEF\xBB\xBF"), Text("\u00EF\u00BB\u00BF"));
    EXPECT_EQ(stringByGuessingEncodingFromData("\xEF\xBB\xBF\xFF"), std::nullopt);
    EXPECT_EQ(stringByGuessingEncodingFromData(std::string_view("\xFE\xFF\0a", 4)), Text("a"));
    EXPECT_EQ(stringByGuessingEncodingFromData(std::string_view("\xFF\xFE"
                                                                "a\0",
                                                                4)),
              Text("a"));
    EXPECT_EQ(stringByGuessingEncodingFromData(std::string_view("\0\0\xFE\xFF", 4)),
              Text(std::string("\0", 1) + "\uFEFF"));
    EXPECT_EQ(stringByGuessingEncodingFromData("\xC3\xA9  "), Text("\u00C3\u00A9  "));
    EXPECT_EQ(stringByGuessingEncodingFromData(""), Text(""));
}

TEST(EncodingsTest, LocalFileNamesItsEncodingOnlyWhenItsBytesTell) {
    EXPECT_THAT(fileEncodingName("caf\u00E9"), Optional(std::string("utf-8")));
    EXPECT_THAT(fileEncodingName("\uFEFFplain"), Optional(std::string("utf-8")));
    EXPECT_THAT(fileEncodingName("\xFF\xFEx"), Optional(std::string("utf-16")));
    EXPECT_EQ(fileEncodingName("plain"), std::nullopt);
    EXPECT_EQ(fileEncodingName("caf\xE9"), std::nullopt);
    EXPECT_EQ(fileEncodingName(""), std::nullopt);
}

TEST(Utf8Test, CharactersAreReadForwardsAndBackwards) {
    const std::string text = "a\u00E9\u65E5\U0001F600";
    std::size_t end = text.size();
    for (const char32_t expected : {U'\U0001F600', U'\u65E5', U'\u00E9', U'a'}) {
        const Utf8Character before = utf8CharacterBefore(text, end);
        EXPECT_EQ(before.character, expected);
        end -= before.bytes;
        EXPECT_EQ(utf8CharacterAt(text, end).character, expected);
    }
    EXPECT_EQ(utf8CharacterBefore("\xA9", 1).character, kNoCharacter);
    EXPECT_EQ(utf8CharacterBefore("a\xC3\xA9\xA9", 4).bytes, 1u);
}

TEST(Utf8Test, EveryCharacterSurvivesWritingAndReading) {
    for (char32_t character = 0; character <= 0x10FFFF; ++character) {
        std::string bytes;
        appendUtf8(bytes, character);
        const Utf8Character read = utf8CharacterAt(bytes, 0);
        ASSERT_EQ(read.character, isCharacter(character) ? character : kReplacementCharacter);
        ASSERT_EQ(read.bytes, bytes.size());
        ASSERT_TRUE(isValidUtf8(bytes));
    }
}

bool isSlowlyValidUtf8(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const Utf8Character next = utf8CharacterAt(text, at);
        if (next.character == kNoCharacter) return false;
        at += next.bytes;
    }
    return true;
}

TEST(Utf8Test, TextIsValidWhenEveryCharacterIs) {
    TagSoup soup(6, {"a", "plain", "\u00E9", "\u0416\u0416\u0416", "\u65E5\u672C", "\u0E01",
                     "\uD55C", "\U0001F600", "\U0010FFFF", std::string(61, 'z')});
    TagSoup faults(7, {"\x80", "\xC0\x80", "\xC3", "\xE6\x97", "\xE0\x9F\xBF", "\xED\xA0\x80",
                       "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF",
                       "\xF0\x9F\x98", "\xE9"});
    for (int round = 0; round < 20000; ++round) {
        std::string text = soup.text(60);
        EXPECT_TRUE(isValidUtf8(text)) << text;
        text.insert(soup.below(text.size() + 1), faults.text(2).substr(0, 4));
        ASSERT_EQ(isValidUtf8(text), isSlowlyValidUtf8(text)) << text;
    }
}

TEST(Utf8Test, WhiteSpaceOfAnyScriptIsTrimmed) {
    EXPECT_EQ(trimmingWhiteSpace(" \t\r\n\u00A0\u3000\u2028a b\u0085\f\v "), "a b");
    EXPECT_EQ(trimmingWhiteSpace(" \u2003 "), "");
    EXPECT_EQ(trimmingWhiteSpace("\u200Ba\xA0"), "\u200Ba\xA0");
}

}  // namespace
}  // namespace siftwell
