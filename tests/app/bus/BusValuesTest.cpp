#include "app/bus/BusValues.h"

#include <gmock/gmock.h>

#include <limits>

#include "app/bus/BusFixture.h"

namespace siftwell {
namespace {

using Array = PropertyList::Array;
using Data = PropertyList::Data;
using Dictionary = PropertyList::Dictionary;

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();

class BusValuesTest : public testing::Test {
protected:
    using Write = std::function<void(sdbus::Message&)>;

    // What a message reads as that was written so.
    Result<PropertyList> read(const Write& write) {
        auto message = m_object->createMethodCall("com.example.Test", "test");
        try {
            write(message);
            message.seal();
            message.rewind(true);
            BusReader reader(message);
            PropertyList value = reader.valueOfAnyType();
            EXPECT_TRUE(reader.isAtEnd());
            return value;
        } catch (const sdbus::Error& error) {
            return statusOf(error);
        }
    }
    Result<PropertyList> travelled(const PropertyList& value) {
        return read([&](sdbus::Message& message) { BusWriter(message).write(value); });
    }
    template <typename T>
    Result<PropertyList> readFrom(const T& value) {
        return read([&](sdbus::Message& message) { message << value; });
    }

    static PropertyList nested(int levels, bool isDictionary) {
        PropertyList value = "core";
        for (int i = 0; i < levels; ++i) {
            value = isDictionary ? PropertyList(Dictionary{{"key", value}})
                                 : PropertyList(Array{value});
        }
        return value;
    }

    TestBus m_bus{"DBUS_SESSION_BUS_ADDRESS"};
    BusClient m_client;
    std::unique_ptr<sdbus::IProxy> m_object =
        sdbus::createProxy(m_client.connection(), "com.example.Test", "/com/example/Test");
};

TEST_F(BusValuesTest, EveryKindOfValueArrivesAsItWas) {
    const PropertyList values = Dictionary{{"", true},
                                           {"no", false},
                                           {"largest", kLargest},
                                           {"smallest", -kLargest - 1},
                                           {"real", -0.1},
                                           {"text", "käse 𝄞"},
                                           {"data", Data{std::string("\0\xFF\x80", 3)}},
                                           {"no data", Data{}},
                                           {"date", Date::fromReference(812345678.125)},
                                           {"past", Date::distantPast()},
                                           {"list", Array{1, "two", Array{}, Dictionary{}}},
                                           {"deep", nested(14, true)}};
    const auto arrived = travelled(values);
    ASSERT_TRUE(arrived) << arrived.status().message();
    EXPECT_EQ(*arrived, values);
}

TEST_F(BusValuesTest, NullIsLeftOutOfContainersAndEmptyByItself) {
    EXPECT_EQ(*travelled(Dictionary{{"a", PropertyList()}, {"b", Array{PropertyList(), 2}}}),
              PropertyList(Dictionary{{"b", Array{2}}}));
    EXPECT_EQ(*travelled(PropertyList()), PropertyList(Dictionary{}));
}

TEST_F(BusValuesTest, OtherWaysToWriteTheSameAreUnderstood) {
    EXPECT_EQ(*readFrom(std::uint8_t{200}), PropertyList(200));
    EXPECT_EQ(*readFrom(std::int16_t{-2}), PropertyList(-2));
    EXPECT_EQ(*readFrom(std::uint16_t{65535}), PropertyList(65535));
    EXPECT_EQ(*readFrom(std::int32_t{-3}), PropertyList(-3));
    EXPECT_EQ(*readFrom(std::uint32_t{4'000'000'000}), PropertyList(std::int64_t{4'000'000'000}));
    EXPECT_EQ(*readFrom(static_cast<std::uint64_t>(kLargest)), PropertyList(kLargest));
    EXPECT_EQ(*readFrom(std::vector<std::string>{"a", "b"}), PropertyList(Array{"a", "b"}));
    EXPECT_EQ(*readFrom(std::map<std::string, std::int32_t>{{"a", 1}}),
              PropertyList(Dictionary{{"a", 1}}));
    EXPECT_EQ(*readFrom(sdbus::Variant(sdbus::Variant(std::string("inside")))),
              PropertyList("inside"));
}

TEST_F(BusValuesTest, WhatIsNoPropertyListIsRefused) {
    const auto codeFor = [this](const auto& value) { return readFrom(value).status().code(); };
    EXPECT_EQ(codeFor(sdbus::ObjectPath("/a")), StatusCode::Invalid);
    EXPECT_EQ(codeFor(sdbus::Signature("a{sv}")), StatusCode::Invalid);
    EXPECT_EQ(codeFor(sdbus::UnixFd(STDIN_FILENO)), StatusCode::Invalid);
    EXPECT_EQ(codeFor(sdbus::Struct<double, double>(1.0, 2.0)), StatusCode::Invalid);
    EXPECT_EQ(codeFor(sdbus::Struct<double>(std::numeric_limits<double>::quiet_NaN())),
              StatusCode::Invalid);
    EXPECT_EQ(codeFor(static_cast<std::uint64_t>(kLargest) + 1), StatusCode::Invalid);
    EXPECT_EQ(codeFor(std::map<std::int32_t, std::string>{{1, "a"}}), StatusCode::Invalid);
    EXPECT_EQ(codeFor(std::vector<sdbus::ObjectPath>{"/a"}), StatusCode::Invalid);
}

TEST_F(BusValuesTest, WhatTheBusWouldThrowOutIsMended) {
    EXPECT_EQ(busText("plain"), "plain");
    EXPECT_EQ(busText("\xC3\xA4 \xF0\x9D\x84\x9E"), "\xC3\xA4 \xF0\x9D\x84\x9E");
    EXPECT_EQ(busText("a\xFFz"), "a\uFFFDz");
    EXPECT_EQ(busText(std::string("a\0z", 3)), "a\uFFFDz");
    EXPECT_EQ(busText("a\xED\xA0\x80"), "a\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(busText("\xEF\xBF\xBE\xEF\xB7\x90\xF4\x8F\xBF\xBFz"), "\uFFFD\uFFFD\uFFFDz");
    EXPECT_EQ(*travelled(Dictionary{{"k\xFE", "v\xFE"}}),
              PropertyList(Dictionary{{"k\uFFFD", "v\uFFFD"}}));
}

TEST_F(BusValuesTest, NestingIsBoundedBothWays) {
    for (const bool isDictionary : {false, true}) {
        EXPECT_EQ(*travelled(nested(16, isDictionary)), nested(16, isDictionary));
        EXPECT_EQ(travelled(nested(17, isDictionary)).status().code(), StatusCode::TooLarge);
    }
    const auto variants = [this](int count) {
        return read([count](sdbus::Message& message) {
            for (int i = 1; i < count; ++i) message.openVariant("v");
            message.openVariant("b") << true;
            for (int i = 0; i < count; ++i) message.closeVariant();
        });
    };
    EXPECT_TRUE(variants(17));
    EXPECT_EQ(variants(18).status().code(), StatusCode::TooLarge);
}

TEST_F(BusValuesTest, NumberAndLengthAreBoundedBothWays) {
    EXPECT_TRUE(travelled(Array(99'999, 7)));
    EXPECT_EQ(travelled(Array(100'000, 7)).status().code(), StatusCode::TooLarge);
    EXPECT_EQ(readFrom(std::vector<std::string>(100'000, "")).status().code(),
              StatusCode::TooLarge);
    const std::string long16(std::size_t{16} << 20, 'x');
    EXPECT_TRUE(travelled(long16));
    EXPECT_EQ(travelled(long16 + "x").status().code(), StatusCode::TooLarge);
    EXPECT_EQ(readFrom(long16 + "x").status().code(), StatusCode::TooLarge);
    EXPECT_EQ(travelled(Data{long16 + "x"}).status().code(), StatusCode::TooLarge);
}

}  // namespace
}  // namespace siftwell
