#include "app/RegisteredDefaults.h"

#include <gmock/gmock.h>

#include "app/DefaultURLFilters.h"

namespace siftwell {
namespace {

using testing::Contains;
using testing::Not;
using testing::Pair;
using testing::SizeIs;

TEST(RegisteredDefaultsTest, ValuesHaveTheTypesThatReadersAskFor) {
    const Date now = Date::fromReference(123);
    const PropertyList::Dictionary defaults = registeredDefaults(now);
    EXPECT_THAT(defaults, SizeIs(40));
    EXPECT_THAT(defaults, Contains(Pair("SearchType", "0")));
    EXPECT_THAT(defaults, Contains(Pair("MinutesBetweenScans", 1.0)));
    EXPECT_THAT(defaults, Contains(Pair("UseContentExtractors", false)));
    EXPECT_THAT(defaults, Contains(Pair("constraintDate2", now)));
    EXPECT_EQ(defaults.at("constraintDate1").asDate()->formattedLocally("%Y-%m-%d %H:%M:%S"),
              "2000-01-01 00:00:00");
}

TEST(RegisteredDefaultsTest, FiltersStandInTheirOrderAndBlockNoOrdinaryHost) {
    const std::vector<URLFilter> filters = defaultURLFilters();
    ASSERT_EQ(filters.size(), 30U);
    EXPECT_EQ(filters[1].String, "/192.168.");
    EXPECT_EQ(filters[11].String, "/phpads/");
    EXPECT_EQ(filters[25].String, "/pagead/");
    EXPECT_EQ(filters[28].String, "/ad/");
    for (const URLFilter& filter : filters) {
        EXPECT_TRUE(filter.Enabled);
        EXPECT_THAT("https://downloads.example.org/reads/add/loader.html",
                    Not(testing::HasSubstr(filter.String)));
    }
}

}  // namespace
}  // namespace siftwell
