#include "text/PageText.h"

#include <gtest/gtest.h>

#include "text/HtmlQueries.h"
#include "text/HtmlRewrites.h"

namespace siftwell {
namespace {

TEST(PageTextTest, PageBecomesItsTitleAndItsTextInBothLetterings) {
    const PageText page = extractPageText(
        "<HTML><HEAD><TITLE>Grey &amp; Tall</TITLE><STYLE>p {}</STYLE></HEAD>\n"
        "<BODY><!-- <p>not this</p> --><P>The <B>Heron</B>&nbsp;&mdash; 1 &lt; 2</P>\n"
        "<script>if (a < b) x();</script><applet>a</applet><object>o</object></BODY></HTML>",
        {});
    EXPECT_EQ(page.title, "Grey & Tall");
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

// Each piece makes some search begin again and again and fail at the very end.
TEST(PageTextTest, HostilePagesTakeNearlyLinearTimeAndBoundedMemory) {
    std::vector<std::string> pages(1);
    for (int i = 0; i < 200'000; ++i) pages[0] += "&#" + std::to_string(i) + ";";
    for (const char* piece : {"<",
                              "</",
                              "<!--",
                              "<title",
                              "<title>",
                              "<script",
                              "<SCRIPT>/script",
                              "<\u00E9",
                              " \n",
                              "&",
                              "&#",
                              "&#1",
                              "&amp",
                              "&amp;",
                              "&#65; &#65",
                              "&#;&#",
                              "<head",
                              "<frame",
                              "<frame src=a>",
                              "charset",
                              "<script>location='",
                              "<meta refresh url ="}) {
        std::string& page = pages.emplace_back("<head>&#1;&#2;&#2;&#2;");
        while (page.size() < 1'000'000) page += piece;
    }
    for (const std::string& page : pages) {
        EXPECT_LE(extractPageText(page, {}).indexText.size(), page.size());
        std::string text = page;
        replaceHTMLEncodedChars(text, {});
        EXPECT_LE(text.size(), page.size());
        for (const std::string& whole : {page, page + "</script></head>"}) {
            EXPECT_LE(HTMLFramesForURL(whole, *Url::parse("http://host/")).size(), 1000u);
            HTMLTitle(whole);
            HTMLCharSet(whole);
            HTMLRedirectURL(whole, true);
        }
    }
}

}  // namespace
}  // namespace siftwell
