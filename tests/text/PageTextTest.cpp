#include "text/PageText.h"

#include <gmock/gmock.h>

namespace siftwell {
namespace {

using testing::Optional;

TEST(PageTextTest, PageBecomesItsTitleAndItsTextInBothLetterings) {
    const PageText page = extractPageText(
        "<HTML><HEAD><TITLE>Grey &amp; Tall</TITLE><STYLE>p {}</STYLE></HEAD>\n"
        "<BODY><!-- <p>not this</p> --><P>The <B>Heron</B>&nbsp;&mdash; 1 &lt; 2</P>\n"
        "<script>if (a < b) x();</script><applet>a</applet><object>o</object></BODY></HTML>",
        {});
    EXPECT_THAT(page.title, Optional(std::string("Grey & Tall")));
    EXPECT_EQ(page.readable, "    The Heron \u00A0\u2014 1 < 2  ");
    EXPECT_EQ(page.indexText, "    the heron \u00A0\u2014 1 < 2  ");
}

TEST(PageTextTest, EncodedMarkupSurvivesAsText) {
    EXPECT_EQ(extractPageText("<p>&lt;B&gt;</p>", {}).indexText, " <b> ");
    EXPECT_EQ(extractPageText("a<!-- x", {}).indexText, "a<!-- x");
    EXPECT_EQ(extractPageText("a<!-- x <b>c", {}).indexText, "a c");
}

TEST(PageTextTest, EmptyPageHasNeitherTextNorTitle) {
    const PageText page = extractPageText("", [] { FAIL(); });
    EXPECT_EQ(page.indexText, "");
    EXPECT_EQ(page.title, std::nullopt);
}

// Each of these makes some search begin again and again and fail at the very end.
TEST(PageTextTest, HostilePagesTakeLinearTime) {
    for (const std::string piece : {"<", "<!--", "<title", "<title>", "<script", "<SCRIPT>/script",
                                    "&", "&#", "&amp", "&#1", " \n", "<\xC3\xA9"}) {
        std::string page;
        while (page.size() < 1'000'000) page += piece;
        EXPECT_LE(extractPageText(page, {}).indexText.size(), page.size());
    }
}

}  // namespace
}  // namespace siftwell
