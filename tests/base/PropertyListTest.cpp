#include "base/PropertyList.h"

#include <gmock/gmock.h>

#include <cmath>

namespace siftwell {
namespace {

using testing::Optional;

TEST(PropertyListTest, SettingsReadTextAsTheNumberOrTruthItStandsFor) {
    for (const char* text : {"1", "YES", "true", " y", "01", "-7"}) {
        EXPECT_THAT(PropertyList(text).asBooleanLenient(), Optional(true)) << text;
    }
    for (const char* text : {"", "0", "NO", "false", "-0", "maybe"}) {
        EXPECT_THAT(PropertyList(text).asBooleanLenient(), Optional(false)) << text;
    }
    EXPECT_THAT(PropertyList("42 days").asIntegerLenient(), Optional(42));
    EXPECT_THAT(PropertyList("1.5").asRealLenient(), Optional(1.5));
    EXPECT_THAT(PropertyList("nan").asRealLenient(), Optional(0.0));
    EXPECT_THAT(PropertyList(true).asIntegerLenient(), Optional(1));
    EXPECT_THAT(PropertyList(std::nan("")).asIntegerLenient(), Optional(0));
    EXPECT_LT(*PropertyList(-1e300).asIntegerLenient(), -1'000'000);
    EXPECT_EQ(PropertyList(Date()).asIntegerLenient(), std::nullopt);
    EXPECT_EQ(PropertyList().asBooleanLenient(), std::nullopt);
}

}  // namespace
}  // namespace siftwell
