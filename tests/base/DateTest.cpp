#include "base/Date.h"

#include <gtest/gtest.h>

#include <cmath>

namespace siftwell {
namespace {

std::string readBack(std::string_view text) {
    const auto date = Date::parseUtc(text);
    return date ? date->iso8601() : "none";
}

TEST(DateTest, IsWrittenWithinTheYearsThatHaveFourDigits) {
    EXPECT_EQ(Date().iso8601(), "2001-01-01T00:00:00Z");
    EXPECT_EQ(Date::fromUnix(0).iso8601(), "1970-01-01T00:00:00Z");
    EXPECT_EQ(Date::distantPast().iso8601(), "0001-01-01T00:00:00Z");
    EXPECT_EQ(Date::distantFuture().iso8601(), "4001-01-01T00:00:00Z");
    EXPECT_EQ(Date::fromReference(-0.5).iso8601(), "2000-12-31T23:59:59Z");
    EXPECT_EQ(Date::fromReference(1e300).iso8601(), "9999-12-31T23:59:59Z");
    EXPECT_EQ(Date::fromReference(std::nan("")).iso8601(), "0001-01-01T00:00:00Z");
}

TEST(DateTest, ReadsCalendarDatesAndTimesAndNothingElse) {
    EXPECT_EQ(readBack("2024-02-29"), "2024-02-29T00:00:00Z");
    EXPECT_EQ(readBack("2026-11-21 08:15:59"), "2026-11-21T08:15:59Z");
    EXPECT_EQ(readBack("2026-11-21T08:15:59Z"), "2026-11-21T08:15:59Z");
    EXPECT_EQ(readBack("2016-12-31 23:59:60"), "2017-01-01T00:00:00Z");  // a leap second
    for (const char* text : {"", "2023-02-29", "2023-13-01", "2023-00-01", "2023-1-1", "-023-01-01",
                             "-000-01-01", "2023-01-01x", " 2023-01-01", "2023-01-01 24:00:00",
                             "2023-01-01 00:60:00", "2023-01-01 00:00", "2023-01-01 -0:00:00",
                             "2023-01-01 00:00:00.5", "2023-01-01 00:00:00ZZ"}) {
        EXPECT_EQ(readBack(text), "none") << text;
    }
}

}  // namespace
}  // namespace siftwell
