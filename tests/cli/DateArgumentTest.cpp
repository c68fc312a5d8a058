#include "cli/DateArgument.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace siftwell {
namespace {

// Summer time from the last Sunday of March to that of October, as in much of Europe.
class DateArgumentTest : public testing::Test {
protected:
    DateArgumentTest() { useZone("CET-1CEST,M3.5.0,M10.5.0/3"); }
    ~DateArgumentTest() override { useZone("UTC0"); }

    static void useZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }

    // As local time; "" when it is no date.
    static std::string read(const char* argument, const char* now = "2026-05-31 10:30:00",
                            DayEdge edge = DayEdge::Begin) {
        const auto date = dateFromArgument(argument, Date::parseUtc(now).value(), edge);
        return date ? date->formattedLocally("%Y-%m-%d %H:%M:%S") : "";
    }
};

TEST_F(DateArgumentTest, AgesGoBackByTheCalendar) {
    EXPECT_EQ(read("0d"), "2026-05-31 12:30:00");
    EXPECT_EQ(read("7d"), "2026-05-24 12:30:00");
    EXPECT_EQ(read("3w"), "2026-05-10 12:30:00");
    EXPECT_EQ(read("10w"), "2026-03-22 12:30:00");  // the same time of day in winter
    EXPECT_EQ(read("2m"), "2026-03-31 12:30:00");
    EXPECT_EQ(read("3m"), "2026-02-28 12:30:00");  // not the 3rd of March
    EXPECT_EQ(read("1m"), "2026-04-30 12:30:00");
    EXPECT_EQ(read("6m"), "2025-11-30 12:30:00");
    EXPECT_EQ(read("2y"), "2024-05-31 12:30:00");
    EXPECT_EQ(read("1y", "2024-02-29 10:00:00"), "2023-02-28 11:00:00");
    EXPECT_NE(read("10000y"), "");
}

TEST_F(DateArgumentTest, DaysHaveTheirEdgesInLocalTime) {
    EXPECT_EQ(read("2026-11-21"), "2026-11-21 00:00:00");
    const auto begin = dateFromArgument("2026-03-29", Date(), DayEdge::Begin).value();
    const auto end = dateFromArgument("2026-03-29", Date(), DayEdge::End).value();
    EXPECT_NEAR(end - begin, 23 * 3600, 0.01);  // the day that loses an hour
    EXPECT_EQ(end.iso8601(), "2026-03-29T21:59:59Z");
}

TEST_F(DateArgumentTest, EverythingElseIsRefused) {
    for (const char* text : {"", "d", "7", "7 d", " 7d", "7dd", "-7d", "+7d", "7D", "7h", "10001d",
                             "99999999999d", "2026-02-30", "2026-1-001", "26-11-21", "2026-11-21 ",
                             "2026/11/21", "2026-11-2x", "2026-11-21T10:00:00"}) {
        EXPECT_EQ(read(text), "") << text;
    }
}

}  // namespace
}  // namespace siftwell
