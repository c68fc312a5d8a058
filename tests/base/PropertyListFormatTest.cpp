#include "base/PropertyListFormat.h"

#include <gtest/gtest.h>

#include <cmath>

namespace siftwell {
namespace {

PropertyList roundTrip(const PropertyList& value) {
    return *parsePropertyList(serializePropertyList(value));
}

std::string xml(const std::string& value) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST "
           "1.0//EN\" \"http://x/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">" +
           value + "</plist>";
}

PropertyList readXml(const std::string& value) { return *parsePropertyList(xml(value)); }

bool isAccepted(std::string_view bytes) { return parsePropertyList(bytes).isOk(); }

std::string repeated(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) result += text;
    return result;
}

PropertyList nested(int arrays) {
    PropertyList value = 1;
    for (int i = 0; i < arrays; ++i) value = PropertyList::Array{std::move(value)};
    return value;
}

// A binary property list of hand-made objects, the first being the root; one byte per reference.
std::string binary(const std::vector<std::string>& objects) {
    std::string bytes = "bplist00";
    std::string offsets;
    for (const std::string& object : objects) {
        offsets += static_cast<char>(bytes.size());
        bytes += object;
    }
    const auto table = static_cast<char>(bytes.size());
    bytes += offsets + std::string(6, '\0') + "\x01\x01" + std::string(7, '\0') +
             static_cast<char>(objects.size()) + std::string(15, '\0') + table;
    return bytes;
}

const PropertyList::Dictionary kSample{
    {"array", PropertyList::Array{1, "zwei", PropertyList::Array{}, PropertyList::Dictionary{}}},
    {"data", PropertyList::Data{std::string(300, '\0')}},
    {"date", Date::fromReference(700000000.25)},
    {"empty", ""},
    {"käse 🍐", "naïve 🍐"},
    {"many", PropertyList::Array(20, PropertyList(2.5))},
    {"yes", true}};

TEST(PropertyListFormatTest, EveryTypeSurvivesARoundTrip) {
    EXPECT_EQ(roundTrip(kSample), PropertyList(kSample));
    for (const std::int64_t number : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{-70000},
                                      std::int64_t{1} << 40, INT64_MIN, INT64_MAX}) {
        EXPECT_EQ(roundTrip(number), PropertyList(number));
    }
    EXPECT_EQ(roundTrip(PropertyList::Array{PropertyList(), 1}),
              PropertyList(PropertyList::Array{1}));
}

TEST(PropertyListFormatTest, DatesKeepTheirFractionAndFarOnesBecomeDistant) {
    for (const Date date :
         {Date(), Date::fromReference(-0.25), Date::fromReference(1.000001),
          Date::fromReference(-2147483646.5), Date::distantPast(), Date::distantFuture()}) {
        EXPECT_EQ(roundTrip(date), PropertyList(date)) << date.secondsSinceReference();
    }
    EXPECT_EQ(roundTrip(Date::fromReference(3e9)), PropertyList(Date::distantFuture()));
    EXPECT_EQ(roundTrip(Date::fromReference(-1e300)), PropertyList(Date::distantPast()));
    EXPECT_EQ(roundTrip(Date::fromReference(std::nan(""))), PropertyList(Date::distantPast()));
}

TEST(PropertyListFormatTest, BytesThatAreNoUtf8AreReplacedAndCutNothingOff) {
    EXPECT_EQ(roundTrip("/caf\xE9/b"), PropertyList("/caf\uFFFD/b"));
    EXPECT_EQ(roundTrip(std::string("a\0b", 3)), PropertyList("a\uFFFDb"));
}

TEST(PropertyListFormatTest, XmlFormIsRead) {
    EXPECT_EQ(readXml("<integer>-5</integer>"), PropertyList(-5));
    EXPECT_EQ(readXml("<date>2020-01-02T03:04:05Z</date>"),
              PropertyList(*Date::parseUtc("2020-01-02 03:04:05")));
    EXPECT_EQ(readXml("<date>4001-01-01T00:00:00Z</date>"), PropertyList(Date::distantFuture()));
    EXPECT_EQ(readXml("<string>a &amp; <!-- > -->b<![CDATA[<c>]]></string>"),
              PropertyList("a & b<c>"));
    EXPECT_EQ(readXml("<dict><key>k</key><array><true/><false/></array></dict>"),
              PropertyList(PropertyList::Dictionary{{"k", PropertyList::Array{true, false}}}));
}

TEST(PropertyListFormatTest, NestingHasALimitInBothFormsAndMarkupCannotHideIt) {
    EXPECT_EQ(roundTrip(nested(512)), nested(512));
    EXPECT_FALSE(isAccepted(serializePropertyList(nested(513))));
    const auto arrays = [](int count) {
        return repeated("<array>", count) + repeated("</array>", count);
    };
    EXPECT_TRUE(isAccepted(xml(arrays(511))));
    EXPECT_FALSE(isAccepted(xml(arrays(512))));
    EXPECT_FALSE(isAccepted(repeated("<array>", 1'000'000)));
    for (const char* hidden : {"<!--> <![CDATA[ -->", "<!---> <![CDATA[ -->",
                               "<!DOCTYPE x [ > <!-- ]>", "<!DOCTYPE \"> <!-- \">",
                               "<?x \"> <!-- \"?>", "<?x > <!-- ?>", "<plist x=\"> <!-- \">"}) {
        EXPECT_FALSE(isPropertyListDepthWithin(hidden + arrays(600) + "]]> -->", 512)) << hidden;
    }
}

TEST(PropertyListFormatTest, CircularAndExplodingReferencesAndZeroCharactersInKeysAreRefused) {
    using namespace std::string_literals;
    EXPECT_TRUE(isAccepted(binary({"\xA2\x01\x01"s, "\x10\x05"s})));  // a shared number is fine
    EXPECT_FALSE(isAccepted(binary({"\xA1\x00"s})));
    EXPECT_FALSE(isAccepted(binary({"\xA1\x01"s, "\xD1\x02\x00"s, "\x51k"s})));
    EXPECT_FALSE(isAccepted(binary({"\xA1\x07"s})));               // a reference to nothing
    EXPECT_FALSE(isAccepted(binary({"\xAF\x14\x01"s, "\x08"s})));  // a length of 16 bytes
    std::vector<std::string> doubling;
    for (int i = 1; i <= 40; ++i) doubling.push_back("\xA2" + std::string(2, static_cast<char>(i)));
    doubling.emplace_back("\x08", 1);
    EXPECT_FALSE(isAccepted(binary(doubling)));

    EXPECT_TRUE(isAccepted(binary({"\xD1\x01\x02"s, "\x52kk"s, "\x08"s})));
    EXPECT_FALSE(isAccepted(binary({"\xD1\x01\x02"s, "\x52k\0"s, "\x08"s})));
    EXPECT_FALSE(isAccepted(binary({"\xD1\x01\x02"s, "\x61\0\0"s, "\x08"s})));
    EXPECT_FALSE(isAccepted(binary({"\xD1\x01\x01"s, "\x08"s})));
}

TEST(PropertyListFormatTest, WhatIsNoWholePropertyListIsRefused) {
    const std::string whole = serializePropertyList(kSample);
    for (const std::string& text :
         {whole.substr(0, whole.size() / 2), xml("<array><string>a"), std::string(),
          std::string("hello"), std::string("[1,2]"), std::string("{a=b;}"),
          std::string("<plist/>"), std::string("bplist01"), std::string("bplist00")}) {
        EXPECT_FALSE(isAccepted(text)) << text;
    }
}

}  // namespace
}  // namespace siftwell
