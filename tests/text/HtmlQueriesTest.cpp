#include "text/HtmlQueries.h"

#include <gmock/gmock.h>

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string addressOf(const std::optional<Url>& url) {
    return url ? url->absoluteString() : "none";
}

TEST(HtmlQueriesTest, PageIsHtmlWhenBothTagsBeginInItsFirst5120Utf16Units) {
    EXPECT_TRUE(isHTML("<!doctype html><HTML lang=en><Head>"));
    EXPECT_FALSE(isHTML("<html><body>"));
    const auto isHtmlBehind = [](std::size_t count, const std::string& character) {
        std::string text = "<html>";
        for (std::size_t i = 0; i < count; ++i) text += character;
        return isHTML(text + "<head");
    };
    for (const char* ofOneUnit : {" ", "\u65E5"}) {
        EXPECT_TRUE(isHtmlBehind(5109, ofOneUnit));
        EXPECT_FALSE(isHtmlBehind(5110, ofOneUnit));
    }
    EXPECT_TRUE(isHtmlBehind(2554, "\U0001F600"));
    EXPECT_FALSE(isHtmlBehind(2555, "\U0001F600"));
}

TEST(HtmlQueriesTest, FeedIsRssWhenItHasAChannel) {
    EXPECT_TRUE(isRSS("<?xml version='1.0'?><RSS version='2.0'><channel>"));
    EXPECT_FALSE(isRSS("<rss>"));
}

TEST(HtmlQueriesTest, ContentOfTagEndsAtTheNextClosingTagThatBeginsLikeIt) {
    EXPECT_EQ(contentWithinTag("<A><b x=1> text</B>", "b"), "text");
    EXPECT_EQ(HTMLHead("<header>x</header><head>y</head>"), "x");
    for (const char* none : {"<b></b>", "<b>text", "<b"}) {
        EXPECT_EQ(contentWithinTag(none, "b"), std::nullopt) << none;
    }
}

TEST(HtmlQueriesTest, TitleIsCleanedButKeepsOtherEntities) {
    EXPECT_EQ(HTMLTitle("<TITLE>\r\n A\t \tb&gt;&lt;&GT;&amp;\u00A0 </title>"), "A b><&GT;&amp;");
    EXPECT_EQ(HTMLTitle("<title></title>"), std::nullopt);
    EXPECT_EQ(cleanTitle("&&gt;lt;"), "&>lt;");
}

TEST(HtmlQueriesTest, CharacterSetIsDeclaredInsideATag) {
    const auto charSet = [](std::string_view text) {
        return std::string(HTMLCharSet(text).value_or("none"));
    };
    EXPECT_EQ(charSet("<meta content=\"text/html; CharSet=iso-8859-1\">"), "iso-8859-1");
    EXPECT_EQ(charSet("<?xml?><meta charset = 'utf-8;x'>"), "utf-8");
    EXPECT_EQ(charSet("<meta charset=utf-8 />"), "utf-8 /");
    EXPECT_EQ(charSet("<meta charset='utf-8'>"), "utf-8'");
    for (const char* text : {"<p>charset=utf-8</p><meta charset=utf-8>", "charset=utf-8>",
                             "<meta charset>", "<meta charset=\"\">", "<meta charset=utf-8"}) {
        EXPECT_EQ(charSet(text), "none") << text;
    }
}

TEST(HtmlQueriesTest, RefreshOfLessThanAMinuteRedirects) {
    const auto redirect = [](const std::string& content) {
        return addressOf(HTMLRedirectURL(
            "<head><meta http-equiv=\"Refresh\" content=\"" + content + "\"></head>", true));
    };
    EXPECT_EQ(redirect("5; URL=http://x/y"), "http://x/y");
    EXPECT_EQ(redirect("0;url = /y"), "/y");
    EXPECT_EQ(redirect("59;url=y"), "y");
    EXPECT_EQ(redirect("soon;url=y"), "y");
    for (const char* content :
         {"60; url=y", "99999999999999999999;url=y", "5", "5;url=not an address"}) {
        EXPECT_EQ(redirect(content), "none") << content;
    }
    EXPECT_EQ(addressOf(HTMLRedirectURL("<meta http-equiv=refresh content=\"0;url=y\">", true)),
              "none");
}

TEST(HtmlQueriesTest, ScriptRedirectsWhenScriptsCountAndTheLastFormWins) {
    const auto redirect = [](const std::string& script, bool isJavaScriptEnabled = true) {
        return addressOf(
            HTMLRedirectURL("<head><script>" + script + "</script></head>", isJavaScriptEnabled));
    };
    EXPECT_EQ(redirect("window . location = \"/a\" ;"), "/a");
    EXPECT_EQ(redirect("Location.Replace('/a')"), "/a");
    EXPECT_EQ(redirect("location='/a'; location.href='/b'"), "/b");
    EXPECT_EQ(redirect("location.href='/b'; location='/a'"), "/a");
    EXPECT_EQ(redirect("location=x"), "none");
    EXPECT_EQ(redirect("location='/a'", false), "none");
}

TEST(HtmlQueriesTest, FramesAreResolvedInTheirOrder) {
    const Url base = *Url::parse("http://host/dir/page.html");
    const auto frames = [&](std::string_view text) {
        std::vector<std::string> addresses;
        for (const Url& frame : HTMLFramesForURL(text, base)) {
            addresses.push_back(frame.absoluteString());
        }
        return addresses;
    };
    EXPECT_THAT(frames("<frameset cols=2><FRAME name=a SRC=\"l.html\" scrolling=no>\n"
                       "<frame src='/r.html'></frameset>"),
                ElementsAre("http://host/dir/l.html", "http://host/r.html"));
    EXPECT_THAT(frames("<frame src = x><iframe src=x><frame data-src=1 src=y><frame src=z"),
                ElementsAre("http://host/dir/1"));
    EXPECT_THAT(frames("<frame src= \"http://b/\">"), ElementsAre("http://b/"));
    EXPECT_THAT(frames("no frame"), IsEmpty());
}

TEST(HtmlQueriesTest, QuotationMarksAreRemovedInPairs) {
    EXPECT_EQ(stringByRemovingQuotationMarks(" \"'a b'\" \n"), "a b");
    EXPECT_EQ(stringByRemovingQuotationMarks("\" a \""), " a ");
    EXPECT_EQ(stringByRemovingQuotationMarks("\u3000''\u00A0"), "");
    for (const char* kept : {"\"", "\"a'"}) EXPECT_EQ(stringByRemovingQuotationMarks(kept), kept);
}

}  // namespace
}  // namespace siftwell
