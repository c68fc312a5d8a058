#include "records/URLFilter.h"

#include <gtest/gtest.h>

namespace siftwell {
namespace {

TEST(URLFilterTest, FiltersSurviveTheWayThroughTheSettings) {
    const std::vector<URLFilter> filters = {{true, "/ads/"}, {false, ""}, {true, "\xFF"}};
    EXPECT_EQ(urlFiltersIn(listOf(filters)), filters);
    using Dictionary = PropertyList::Dictionary;
    EXPECT_EQ(urlFiltersIn({PropertyList("x"), Dictionary{{"Enabled", 1}, {"String", "a"}},
                            Dictionary{{"String", 5}}}),
              (std::vector<URLFilter>{{true, "a"}, {false, ""}}));
}

}  // namespace
}  // namespace siftwell
