#include "base/Translate.h"

#include <gtest/gtest.h>

namespace siftwell {
namespace {

TEST(TranslateTest, PlaceholdersAreFilledInOrderAndArgumentsNeverReadAgain) {
    EXPECT_EQ(filledIn("%@ has %d of %ld, %f", "a", 1, std::int64_t{2}, "3.5"),
              "a has 1 of 2, 3.5");
    EXPECT_EQ(filledIn("'%@' and '%@'", "%@ %d", "b"), "'%@ %d' and 'b'");
    EXPECT_EQ(filledIn("100% of %@ and %@", "a"), "100% of a and %@");
    EXPECT_EQ(filledIn("%@ %", "a", "b"), "a %");
}

TEST(TranslateTest, EmptyTextIsNotTheHeadOfTheCatalogue) { EXPECT_EQ(localized(""), ""); }

}  // namespace
}  // namespace siftwell
