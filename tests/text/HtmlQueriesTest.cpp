#include "text/HtmlQueries.h"

#include <gmock/gmock.h>

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

std::string addressOf(const std::optional<Url>& url) {
    return url ? url->absoluteString() : "none";
}

TEST(HtmlQueriesTest, PageIsHtmlWhenBothTagsBeginInItsFirst5120Units) {
    EXPECT_TRUE(isHTML("<!doctype html><HTML lang=en><Head>"));
    EXPECT_FALSE(isHTML("<html><body>"));
    EXPECT_TRUE(isHTML("<html>" + std::string(5109, ' ') + "<head"));
    EXPECT_FALSE(isHTML("<html>" + std::string(5110, ' ') + "<head"));
}

TEST(HtmlQueriesTest, LengthOfTheSniffedStartCountsUtf16Units) {
    const auto page = [](std::size_t count, const std::string& character) {
        std::string text = "<html>";
        for (std::size_t i = 0; i < count; ++i) text += character;
        return text + "<head";
    };
    EXPECT_TRUE(isHTML(page(5109, "\u65E5")));
    EXPECT_FALSE(isHTML(page(5110, "\u65E5")));
    EXPECT_TRUE(isHTML(page(2554, "\U0001F600")));
    EXPECT_FALSE(isHTML(page(2555, "\U0001F600")));
}

TEST(HtmlQueriesTest, FeedIsRssWhenItHasAChannel) {
    EXPECT_TRUE(isRSS("<?xml version='1.0'?><RSS version='2.0'><channel>"));
    EXPECT_FALSE(isRSS("<rss>"));
}

TEST(HtmlQueriesTest, ContentOfTagEndsAtTheNextClosingTagThatBeginsLikeIt) {
    EXPECT_THAT(contentWithinTag("<A><b x=1> text</B>", "b"), Optional(std::string_view("text")));
    EXPECT_THAT(HTMLHead("<header>x</header><head>y</head>"), Optional(std::string_view("x")));
    EXPECT_EQ(contentWithinTag("<b></b>", "b"), std::nullopt);
    EXPECT_EQ(contentWithinTag("<b>text", "b"), std::nullopt);
    EXPECT_EQ(contentWithinTag("<b", "b"), std::nullopt);
}

TEST(HtmlQueriesTest, TitleIsCleanedButKeepsOtherEntities) {
    EXPECT_THAT(HTMLTitle("<TITLE>\r\n A\t \tb&gt;&lt;&GT;&amp;\u00A0 </title>"),
                Optional(std::string("A b><&GT;&amp;")));
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
    EXPECT_EQ(charSet("<p>charset=utf-8</p><meta charset=utf-8>"), "none");
    EXPECT_EQ(charSet("charset=utf-8>"), "none");
    EXPECT_EQ(charSet("<meta charset>"), "none");
    EXPECT_EQ(charSet("<meta charset=\"\">"), "none");
    EXPECT_EQ(charSet("<meta charset=utf-8"), "none");
}

TEST(HtmlQueriesTest, RefreshOfLessThanAMinuteRedirects) {
    const auto redirect = [](const std::string& content) {
        return addressOf(HTMLRedirectURL(
            "<head><meta http-equiv=\"Refresh\" content=\"" + content + "\"></head>", true));
    };
    EXPECT_EQ(redirect("5; URL=http://x/y"), "http://x/y");
    EXPECT_EQ(redirect("0;url = /y"), "/y");
    EXPECT_EQ(redirect("59;url=y"), "y");
    EXPECT_EQ(redirect("60; url=y"), "none");
    EXPECT_EQ(redirect("99999999999999999999;url=y"), "none");
    EXPECT_EQ(redirect("soon;url=y"), "y");
    EXPECT_EQ(redirect("5"), "none");
    EXPECT_EQ(redirect("5;url=not an address"), "none");
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
    EXPECT_EQ(stringByRemovingQuotationMarks("\""), "\"");
    EXPECT_EQ(stringByRemovingQuotationMarks("\"a'"), "\"a'");
    EXPECT_EQ(stringByRemovingQuotationMarks("\u3000''\u00A0"), "");
}

TEST(HtmlQueriesTest, HostilePagesTakeLinearTimeAndBoundedMemory) {
    const Url base = *Url::parse("http://host/");
    for (const std::string piece : {"<frame", "<frame src=a>", "<head", "<title", "<title>", "</",
                                    "charset", "<", "<script>location='", "<meta refresh url ="}) {
        std::string page = "<head>";
        while (page.size() < 1'000'000) page += piece;
        for (const std::string& text : {page, page + "</script></head>"}) {
            EXPECT_LE(HTMLFramesForURL(text, base).size(), 1000u);
            HTMLTitle(text);
            HTMLCharSet(text);
            HTMLRedirectURL(text, true);
        }
    }
}

}  // namespace
}  // namespace siftwell
