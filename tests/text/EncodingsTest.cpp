#include "text/Encodings.h"

#include <gtest/gtest.h>

#include "text/TagSoup.h"
#include "text/Utf8.h"

namespace siftwell {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

using Text = std::optional<std::string>;

Text decode(const std::string& name, std::string_view bytes) {
    const auto encoding = encodingForEncodingName(name);
    return encoding ? encoding->decode(bytes) : std::nullopt;
}

TEST(EncodingsTest, NamesAreKnownWithTheirAliases) {
    for (const std::string name : {"utf-8", "UTF-8", "utf8", "Utf-8 /"}) {
        EXPECT_EQ(encodingForEncodingName(name), Encoding::utf8()) << name;
    }
    for (const Text& name : {Text(), Text("iso-8859-1"), Text("latin1"), Text("l1"), Text("")}) {
        EXPECT_EQ(encodingForEncodingName(name), Encoding::latin1()) << name.value_or("none");
    }
    for (const auto& name : {"no-such-set"s, "utf-8,locale=x"s, std::string(100'000, 'x')}) {
        EXPECT_EQ(encodingForEncodingName(name), std::nullopt);
    }
}

TEST(EncodingsTest, OneTextComesOutOfAllItsEncodings) {
    const Text japanese = "\u65E5\u672C";
    EXPECT_EQ(decode("shift_jis", "\x93\xFA\x96\x7B"), japanese);
    EXPECT_EQ(decode("euc-jp", "\xC6\xFC\xCB\xDC"), japanese);
    EXPECT_EQ(decode("gb2312", "\xC8\xD5\xB1\xBE"), japanese);
    EXPECT_EQ(decode("big5", "\xA4\xE9\xA5\xBB"), japanese);
    EXPECT_EQ(decode("iso-2022-jp", "\x1B$BF|K\\\x1B(B"), japanese);
    EXPECT_EQ(decode("utf-16le", "\xE5\x65\x2C\x67"), japanese);
    EXPECT_EQ(decode("utf-16", "\xFF\xFE\xE5\x65"), Text("\u65E5"));  // without the mark
    EXPECT_EQ(decode("utf-16", "\xFE\xFF\x65\xE5"), Text("\u65E5"));
    EXPECT_EQ(decode("utf-16be", "\xFE\xFF\x65\xE5"), Text("\u65E5"));
    EXPECT_EQ(decode("utf-8", "\uFEFFa\uFEFF"), Text("a\uFEFF"));  // at the front only
    EXPECT_EQ(decode("windows-1252", "\x80\x93"), Text("\u20AC\u201C"));
    EXPECT_EQ(decode("iso-8859-1", "\x80\xE9"), Text("\u0080\u00E9"));
    EXPECT_EQ(decode("gb2312", "\x81\x40"), Text("\u4E02"));  // only in its superset
    EXPECT_EQ(decode("euc-kr", "\x81\x41"), Text("\uAC02"));  // so too
    EXPECT_EQ(decode("euc-kr", "\xC7\xD1\xB1\xB9"), Text("\uD55C\uAD6D"));
    EXPECT_EQ(decode("gb18030", "\xD6\xD0\x81\x30\x84\x36"), Text("\u4E2D\u00A5"));
    EXPECT_EQ(decode("koi8-r", "\xD0\xD2\xC9"), Text("\u043F\u0440\u0438"));
    EXPECT_EQ(decode("windows-1251", "\xEF\xF0\xE8"), Text("\u043F\u0440\u0438"));
    EXPECT_EQ(decode("windows-1253", "\xEA\xE1\xEB"), Text("\u03BA\u03B1\u03BB"));
    EXPECT_EQ(decode("windows-1255", "\xF9\xEC\xE5"), Text("\u05E9\u05DC\u05D5"));
    EXPECT_EQ(decode("iso-8859-2", "\xBE\xB3"), Text("\u017E\u0142"));
}

TEST(EncodingsTest, BytesThatTheEncodingDoesNotAllowAreNotRepaired) {
    for (const char* bytes :
         {"a\xFFz", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xC0\x80", "\u65E5\xE6\x97"}) {
        EXPECT_EQ(decode("utf-8", bytes), std::nullopt) << bytes;
    }
    EXPECT_EQ(decode("shift_jis", "\x93"), std::nullopt);
    EXPECT_EQ(decode("us-ascii", "\xE9"), std::nullopt);
    EXPECT_EQ(decode("utf-16le", "\0\xD8"sv), std::nullopt);
}

TEST(EncodingsTest, PageIsReadByItsResponseThenByItsOwnDeclarationAndElseAsLatin1) {
    const std::string declared = "<meta charset=\"utf-8\">";
    EXPECT_EQ(decodePage("\u00E9", "utf-8"), Text("\u00E9"));
    EXPECT_EQ(decodePage("\u00E9", std::nullopt), Text("\u00C3\u00A9"));
    EXPECT_EQ(decodePage(declared + "\u00E9", std::nullopt), Text(declared + "\u00E9"));
    EXPECT_EQ(decodePage(declared + "\u00E9", "iso-8859-1"), Text(declared + "\u00E9"));
    EXPECT_EQ(decodePage("<meta charset=shift_jis>\x93\xFA", "utf-8"),
              Text("<meta charset=shift_jis>\u65E5"));
    EXPECT_EQ(decodePage("\xE9", "utf-8"), Text("\u00E9"));
    EXPECT_EQ(decodePage("\xE9", "no-such-set"), Text("\u00E9"));
    EXPECT_EQ(decodePage(declared + "\xE9", "utf-8"), Text(declared + "\u00E9"));
    EXPECT_EQ(decodePage("<meta charset=\"klingon\">\xE9", std::nullopt),
              Text("<meta charset=\"klingon\">\u00E9"));
    for (const char* empty : {"", "\uFEFF"}) EXPECT_EQ(decodePage(empty, "utf-8"), std::nullopt);

    EXPECT_EQ(decodeCachedObject(declared + "\u00E9", ""), Text(declared + "\u00E9"));
    EXPECT_EQ(decodeCachedObject("\xE9", std::nullopt), Text("\u00E9"));
    EXPECT_EQ(decodeCachedObject("\xE9", "utf-8"), std::nullopt);  // has no text then
}

TEST(EncodingsTest, GuessGoesByTheMarkInTheFirstFourBytes) {
    const auto guessed = stringByGuessingEncodingFromData;
    EXPECT_EQ(guessed("\uFEFF\u00E9"), Text("\u00E9"));
    EXPECT_EQ(guessed("\uFEFF"), Text("\u00EF\u00BB\u00BF"));
    EXPECT_EQ(guessed("\xEF\xBB\xBF\xFF"), std::nullopt);
    EXPECT_EQ(guessed("\xFE\xFF\x65\xE5"), Text("\u65E5"));
    EXPECT_EQ(guessed("\xFF\xFE\xE5\x65"), Text("\u65E5"));
    EXPECT_EQ(guessed("\0\0\xFE\xFF"sv), Text("\0"s + "\uFEFF"));
    EXPECT_EQ(guessed("\u00E9  "), Text("\u00C3\u00A9  "));
    EXPECT_EQ(guessed(""), Text(""));
}

TEST(EncodingsTest, LocalFileNamesItsEncodingOnlyWhenItsBytesTell) {
    EXPECT_EQ(fileEncodingName("caf\u00E9"), "utf-8");
    EXPECT_EQ(fileEncodingName("\uFEFFplain"), "utf-8");
    EXPECT_EQ(fileEncodingName("\xFF\xFEx"), "utf-16");
    for (const char* bytes : {"plain", "caf\xE9", ""}) {
        EXPECT_EQ(fileEncodingName(bytes), std::nullopt) << bytes;
    }
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
