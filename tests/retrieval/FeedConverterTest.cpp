#include "retrieval/FeedConverter.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>
#include <vector>

#include "retrieval/FeedDate.h"
#include "retrieval/RSSFeedRepresentation.h"
#include "support/LoggedLines.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const Url kAddress = *Url::parse("http://host/news/feed.xml");

std::string rssWith(std::string_view items) {
    return "<?xml version='1.0'?><rss version='2.0'><channel><title>News</title>" +
           std::string(items) + "</channel></rss>";
}

Feed feedOf(std::string_view text) {
    auto feed = readFeed(text, kAddress);
    EXPECT_TRUE(feed.isOk()) << feed.status().message();
    return feed ? *std::move(feed) : Feed();
}

FeedEntry entryIn(std::string_view text) {
    Feed feed = feedOf(text);
    EXPECT_EQ(feed.entries.size(), 1U);
    return feed.entries.empty() ? FeedEntry() : feed.entries.front();
}

std::string pageOf(std::string_view bytes, const std::optional<std::string>& encodingName = {}) {
    auto page = convertFeed(bytes, encodingName, kAddress);
    EXPECT_TRUE(page.isOk()) << page.status().message();
    return page ? *page : "";
}

std::string linkIn(std::string_view item) {
    const auto entry = entryIn(rssWith("<item>" + std::string(item) + "</item>"));
    return entry.link ? entry.link->absoluteString() : "";
}

class FeedConverterTest : public testing::Test {
protected:
    FeedConverterTest() {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

TEST_F(FeedConverterTest, ReadsEveryDialectByLocalNames) {
    const FeedEntry rss = entryIn(rssWith(
        "<item><media:title>M</media:title><title>One</title><link>http://a/1</link>"
        "<description>short</description><pubDate>Sat, 07 Sep 2002 00:00:01 +0100</pubDate>"
        "<content:encoded><![CDATA[<p>long &amp; <b>bold</b></p>]]></content:encoded></item>"));
    EXPECT_EQ(rss.title, "One");
    EXPECT_EQ(rss.link->absoluteString(), "http://a/1");
    EXPECT_EQ(rss.date, "2002/09/06 23:00");
    EXPECT_EQ(rss.text, "long & bold");

    const Feed rdf = feedOf(
        "<rdf:RDF xmlns='x'><channel><title>Old</title></channel>"
        "<item><title>Two</title><link>2.html</link><dc:date>2003-01-02</dc:date></item></"
        "rdf:RDF>");
    EXPECT_EQ(rdf.title, "Old");
    ASSERT_EQ(rdf.entries.size(), 1U);
    EXPECT_EQ(rdf.entries[0].link->absoluteString(), "http://host/news/2.html");
    EXPECT_EQ(rdf.entries[0].date, "2003-01-02");

    const Feed atom = feedOf(
        "<a:feed xml:base='/deep/'><a:title type='html'>&lt;i&gt;At&lt;/i&gt;om</a:title><a:entry>"
        "<a:title>1 &lt; 2 &gt; 0</a:title><a:link rel='self' href='http://no/'/>"
        "<a:link href='x?a=1&amp;b=2'/><a:updated>2003-12-13T18:30:02.25+01:30</a:updated>"
        "<a:content type='xhtml'><div>some<script>bad()</script> <em>words</em></div></a:content>"
        "</a:entry></a:feed>");
    EXPECT_EQ(atom.title, "At om");
    ASSERT_EQ(atom.entries.size(), 1U);
    EXPECT_EQ(atom.entries[0].title, "1 < 2 > 0");
    EXPECT_EQ(atom.entries[0].link->absoluteString(), "http://host/deep/x?a=1&b=2");
    EXPECT_EQ(atom.entries[0].date, "2003/12/13 17:00");
    EXPECT_THAT(atom.entries[0].text, testing::MatchesRegex("some +words"));
}

TEST_F(FeedConverterTest, OnlyLinksToPagesAndFeedsAreLinks) {
    EXPECT_EQ(linkIn("<link>HTTPS://a/x y</link>"), "HTTPS://a/x%20y");
    EXPECT_EQ(linkIn("<link>feed://a/b</link>"), "feed://a/b");
    EXPECT_EQ(linkIn("<link>/caf\xC3\xA9?100%</link>"), "http://host/caf%C3%A9?100%25");
    EXPECT_EQ(linkIn("<link> javascript:alert(1)</link>"), "");
    EXPECT_EQ(linkIn("<link>java&#10;script:alert(1)</link>").find("javascript:"),
              std::string::npos);
    EXPECT_EQ(linkIn("<link>data:text/html,x</link>"), "");
    EXPECT_EQ(linkIn("<link>file:///etc/passwd</link>"), "");
    EXPECT_EQ(linkIn("<guid>http://a/guid</guid>"), "http://a/guid");
    EXPECT_EQ(linkIn("<guid isPermaLink='false'>http://a/guid</guid>"), "");
    EXPECT_EQ(linkIn("<guid>1234</guid>"), "");
}

TEST_F(FeedConverterTest, NothingOfAFeedBecomesMarkupOfThePage) {
    const std::string page = pageOf(
        "<feed><title>&lt;/title&gt;&lt;script&gt;t()&lt;/script&gt;</title><entry>"
        "<title>&lt;img src=x onerror=a()&gt;</title><link href='http://a/\"&gt;&lt;b&gt;'/>"
        "<updated>&lt;iframe&gt;</updated>"
        "<summary type='html'>&lt;scr&lt;script&gt;&lt;/script&gt;ipt&gt;&amp;lt;style&amp;gt;"
        "&lt;style&gt;p{}&lt;/style&gt; end</summary></entry></feed>");
    for (const char* const tag : {"<script", "<img", "<iframe", "<b>", "p{}"}) {
        EXPECT_THAT(page, Not(HasSubstr(tag))) << tag;
    }
    EXPECT_EQ(page.find("<style"), page.rfind("<style")) << "only the page's own";
    EXPECT_THAT(page, HasSubstr("&lt;img src=x onerror=a()&gt;"));
    EXPECT_THAT(page, HasSubstr("href=\"http://a/&quot;&gt;&lt;b&gt;\""));
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
}

TEST_F(FeedConverterTest, TheEncodingIsTheMarksThenTheResponsesThenTheDeclared) {
    const std::string_view declared = "<?xml version='1.0' encoding=\"iso-8859-2\"?><rss/>\xB1";
    EXPECT_THAT(decodeFeed(declared, std::nullopt), testing::EndsWith("\xC4\x85"));
    EXPECT_THAT(decodeFeed(declared, "iso-8859-1"), testing::EndsWith("\xC2\xB1"));
    EXPECT_THAT(decodeFeed(declared, "utf-8"), testing::EndsWith("\xC4\x85")) << "it is no UTF-8";
    EXPECT_THAT(decodeFeed(declared, "no-such-name"), testing::EndsWith("\xC4\x85"));
    EXPECT_EQ(decodeFeed("\xEF\xBB\xBF<\xC3\xA9/>", "iso-8859-1"), "<\xC3\xA9/>");
    EXPECT_EQ(decodeFeed(std::string_view("\xFF\xFE<\0/\0", 6), "utf-8"), "</");
    EXPECT_EQ(decodeFeed("<?xml encoding='utf-16'?>\xC3\xA9", {}),
              "<?xml encoding='utf-16'?>\xC3\xA9");
    EXPECT_EQ(decodeFeed("\xE9", {}), "\xC3\xA9");
}

TEST_F(FeedConverterTest, WhatIsNoCharacterIsReplaced) {
    const FeedEntry entry =
        entryIn(rssWith("<item><title>a&#xD800;b</title><description>&#0;x</description></item>"));
    EXPECT_EQ(entry.title.front(), 'a');
    EXPECT_THAT(entry.title, HasSubstr("\xEF\xBF\xBD"));
    EXPECT_EQ(entryIn(rssWith("<item><title>a&#7;b&#127;</title></item>")).title, "a b");
}

TEST_F(FeedConverterTest, DeclaredEntitiesAreNotExpanded) {
    const std::string bomb =
        "<!DOCTYPE rss [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;'>"
        "<!ENTITY f SYSTEM 'file:///etc/passwd'>]>" +
        rssWith("<item><title>&b;&f;</title></item>").substr(21);
    EXPECT_EQ(entryIn(bomb).title, "&b;&f;");
}

TEST_F(FeedConverterTest, DepthAndNumberAndLengthAreBounded) {
    std::string deep = "<rss><channel>";
    constexpr int kLevels = 490'000;
    for (int i = 0; i < kLevels; ++i) deep += "<item>";
    for (int i = 0; i < kLevels; ++i) deep += "</item>";
    deep += "</channel></rss>";
    EXPECT_EQ(feedOf(deep).entries.size(), 1U);
    EXPECT_EQ(readFeed(deep + deep + deep, kAddress).status().code(), StatusCode::TooLarge);
    EXPECT_EQ(readFeed(std::string(kMaxFeedBytes + 1, ' '), kAddress).status().code(),
              StatusCode::TooLarge);

    std::string many;
    for (std::size_t i = 0; i < kMaxFeedEntries + 5; ++i) many += "<item><title>t</title></item>";
    EXPECT_EQ(feedOf(rssWith(many)).entries.size(), kMaxFeedEntries);

    const std::string text(100'000, '&');
    const std::string item =
        "<item><title>t</title><description><![CDATA[" + text + "]]></description></item>";
    std::string large;
    for (int i = 0; i < 100; ++i) large += item;
    const std::string page = pageOf(rssWith(large));
    EXPECT_LT(page.size(), 8'500'000U);
    EXPECT_THAT(page.substr(page.size() - 20), HasSubstr("</html>"));
}

TEST_F(FeedConverterTest, DatesThatAreNoMomentsAreShownAsTheyAre) {
    EXPECT_EQ(shownFeedDate("2003-12-13T18:30:02Z"), "2003/12/13 18:30");
    EXPECT_EQ(shownFeedDate("2003-12-13T18:30:02-0230"), "2003/12/13 21:00");
    for (const char* const date : {"2003-12-13", "yesterday", "2003-13-13T18:30:02Z",
                                   "2003-12-13T18:30:02+1:30", "2003-12-13T18:30:02", ""}) {
        EXPECT_EQ(shownFeedDate(date), date);
    }
    EXPECT_EQ(shownFeedDate(std::string(5000, 'x')).size(), 100U);
}

class RSSFeedRepresentationTest : public FeedConverterTest {
protected:
    RSSFeedRepresentationTest() {
        m_feed.setDataSource({.url = kAddress, .textEncodingName = "utf-8"});
    }

    RSSFeedRepresentation m_feed;
    LoggedLines m_log;
};

TEST_F(RSSFeedRepresentationTest, GathersAFeedAndGivesItsTitle) {
    const std::string bytes =
        "<rss><channel><title>A &amp;amp; B &amp;lt; \"C\"</title></channel></rss>";
    EXPECT_FALSE(m_feed.canProvideDocumentSource());
    EXPECT_EQ(m_feed.title(), std::nullopt);
    m_feed.receivedData(bytes.substr(0, 10));
    m_feed.receivedData(bytes.substr(10));
    m_feed.receivedError(kLoadCancelled, "cancelled");
    m_feed.finishedLoading();
    ASSERT_TRUE(m_feed.canProvideDocumentSource());
    EXPECT_THAT(*m_feed.documentSource(), HasSubstr("<h1>A &amp; B &lt; &quot;C&quot;</h1>"));
    EXPECT_EQ(m_feed.title(), "A & B < \"C\"");
    EXPECT_THAT(m_log.take(), IsEmpty());
}

TEST_F(RSSFeedRepresentationTest, AFeedThatFailsToLoadLeavesNoPage) {
    m_feed.receivedData("<rss/>");
    m_feed.receivedError(-1001, "timed out");
    m_feed.finishedLoading();
    EXPECT_FALSE(m_feed.canProvideDocumentSource());
    EXPECT_THAT(m_log.take(), ElementsAre("receivedError timed out"));
}

TEST_F(RSSFeedRepresentationTest, ABrokenFeedIsAnEmptyPageAndALine) {
    m_feed.receivedData("<rss><channel>");
    m_feed.finishedLoading();
    EXPECT_EQ(m_feed.documentSource(), "");
    EXPECT_EQ(m_feed.title(), std::nullopt);
    EXPECT_THAT(m_log.take(), ElementsAre(HasSubstr("damaged")));
    RSSFeedRepresentation other;
    other.setDataSource({.url = kAddress});
    other.receivedData("<html><head><title>no feed</title></head></html>");
    other.finishedLoading();
    EXPECT_EQ(other.documentSource(), "");
}

}  // namespace
}  // namespace siftwell
