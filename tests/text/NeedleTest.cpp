#include "text/Needle.h"

#include <gtest/gtest.h>

#include "text/Ascii.h"
#include "text/TagSoup.h"

namespace siftwell {
namespace {

bool standsAt(const std::string& text, std::size_t at, const std::string& needle,
              Needle::Letters letters) {
    const std::string_view found = std::string_view(text).substr(at, needle.size());
    if (letters == Needle::Letters::Exact) return found == needle;
    return equalsIgnoringCase(found, needle) &&
           (letters == Needle::Letters::AnyCase || found[0] == needle[0]);
}

TEST(NeedleTest, FirstPlaceInTheRangeIsFoundInAnyText) {
    TagSoup soup(9, {"a", "A", "b", "B", "z", "@", "`", "[", "{", "-", "a-B", "A-b", "a[B"});
    for (int round = 0; round < 20000; ++round) {
        const std::string text = soup.text(200);
        const std::string needle = soup.text(3).substr(0, 5);
        const auto letters = static_cast<Needle::Letters>(soup.below(3));
        const std::size_t from = soup.below(text.size() + 1);
        const std::size_t to = from + soup.below(text.size() - from + 1);
        std::size_t expected = from;
        while (expected < to && (needle.empty() || !standsAt(text, expected, needle, letters))) {
            ++expected;
        }
        const std::vector<char> exact(text.begin(), text.end());  // nothing behind its end
        const std::string_view view(exact.data(), exact.size());
        ASSERT_EQ(Needle(needle, letters).find(view, from, to), expected)
            << needle << " in " << text << " from " << from << " to " << to;
    }
}

TEST(NeedleTest, OnlyAsciiLettersHaveCase) {
    EXPECT_TRUE(equalsIgnoringCase("aZ[", "Az["));
    EXPECT_FALSE(equalsIgnoringCase("[", "{"));
    EXPECT_FALSE(equalsIgnoringCase("@", "`"));
    EXPECT_FALSE(equalsIgnoringCase("ab", "a"));
    EXPECT_TRUE(containsIgnoringCase("xHTMLx", "html"));
    EXPECT_FALSE(containsIgnoringCase("x", ""));
}

}  // namespace
}  // namespace siftwell
