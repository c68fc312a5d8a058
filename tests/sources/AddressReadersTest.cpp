// The readers of files full of addresses: anchor lists and plain texts.

#include <gmock/gmock.h>

#include "sources/AnchorList.h"
#include "sources/UrlExtraction.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

bool always() { return true; }

std::vector<BatchEntry> anchors(std::string_view text, Date newerThan = Date::distantPast()) {
    return anchorsInText(text, newerThan, always);
}

std::vector<std::string> addresses(std::string_view text, Date newerThan = Date::distantPast()) {
    std::vector<std::string> found;
    for (const BatchEntry& anchor : anchors(text, newerThan)) {
        found.push_back(anchor.url.absoluteString());
    }
    return found;
}

std::vector<std::string> extracted(std::string_view text, std::string_view endTokens) {
    std::vector<std::string> found;
    for (const Url& url : extractURLsInString(text, endTokens, always)) {
        found.push_back(url.absoluteString());
    }
    return found;
}

TEST(AnchorListTest, AddressesAreTakenAsTheyStandInTheTag) {
    EXPECT_THAT(addresses("<DT><A HREF=\"http://h/1?a&amp;b\" ADD_DATE=\"1\">one</A>\n"
                          "<a href= 'http://h/2'>two</a><a\nHref=http://h/3 x>three</a>"),
                ElementsAre("http://h/1?a&amp;b", "http://h/2", "http://h/3"));
    EXPECT_THAT(addresses("<a name=x><a href><a href=><a hreflang=de href=http://h/>"), IsEmpty());
    EXPECT_THAT(addresses("<abbr href=http://h/not-an-anchor><a href=http://h/never-closed"),
                ElementsAre("http://h/not-an-anchor", "http://h/never-closed"));
}

TEST(AnchorListTest, TheLatestDateOfATagCounts) {
    const auto dateOf = [](const std::string& attributes) {
        return anchors("<a href=http://h/ " + attributes + ">")[0].date;
    };
    EXPECT_EQ(dateOf("ADD_DATE=\"1000000000\" LAST_VISIT=\"1100000000\""),
              Date::parseUtc("2004-11-09 11:33:20"));
    EXPECT_EQ(dateOf("last_modified=1262304000 LASTCHECKEDTIME=\" 1\""),
              Date::fromUnix(1262304000));
    EXPECT_EQ(dateOf("ADD_DATE=900000000 LASTCHECKEDTIME=\"5\""), Date::fromReference(5));
    EXPECT_EQ(dateOf("ADD_DATE=\"0\" LAST_VISIT=soon"), std::nullopt);
}

TEST(AnchorListTest, OldAnchorsAreLeftOutAndThoseWithoutDateNever) {
    const std::string list =
        "<a href=http://h/1 LASTCHECKEDTIME=100><a href=http://h/2 LASTCHECKEDTIME=101>"
        "<a href=http://h/3>";
    EXPECT_THAT(addresses(list, Date::fromReference(100)), ElementsAre("http://h/2", "http://h/3"));
    int left = 2;
    EXPECT_EQ(anchorsInText(list, Date::distantPast(), [&] { return left-- > 0; }).size(), 2U);
}

TEST(AnchorListTest, SourceAndIndexerAreQuoted) {
    const auto found = anchors(
        "<A HREF=\"http://h/\" SOURCE=\"Safari History\" INDEXER=\"SafariHistory\">"
        "<A HREF=\"http://h/\" SOURCE=\"\" INDEXER=Plain>");
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].source, "Safari History");
    EXPECT_EQ(found[0].indexer, "SafariHistory");
    EXPECT_EQ(found[1].source, std::nullopt);
    EXPECT_EQ(found[1].indexer, std::nullopt);
}

TEST(UrlExtractionTest, AddressesEndAtTheirTokensAndAtWhiteSpace) {
    EXPECT_THAT(extracted("(http://h/1) x http://h/2 y http://h/lost) Http://h/3\xC2\xA0z", ")"),
                ElementsAre("http://h/1", "http://h/2", "Http://h/3"));
    EXPECT_THAT(extracted("http://h/a;b)\tc", ""), ElementsAre("http://h/a;b)"));
    EXPECT_THAT(extracted("http://h/\xC3\xBC http://h/%zz", "\t"), IsEmpty());
}

TEST(UrlExtractionTest, EveryPrefixHasAPassOfItsOwn) {
    EXPECT_THAT(extracted("feed://h/ file:///x\nhttps://h/\nhttp://h/\nhttp://h/", "\n "),
                ElementsAre("http://h/", "http://h/", "https://h/", "file:///x", "feed://h/"));
    int left = 1;
    EXPECT_EQ(extractURLsInString("http://h/ http://h/", " ", [&] { return left-- > 0; }).size(),
              1U);
}

TEST(UrlExtractionTest, LinesThatEndWithABackslashAreJoined) {
    EXPECT_THAT(extracted("http://h/cha\\\nin\\\n-end\nother)", ")"),
                ElementsAre("http://h/chain-end"));
}

// A log may hold more addresses than memory does.
TEST(UrlExtractionTest, ManyAddressesAreBoundedAndTakeLinearTime) {
    std::string text;
    while (text.size() < (8 << 20)) text += "http://h/\n";
    EXPECT_EQ(extractURLsInString(text, "\n", always).size(), kMaxAddresses);
    EXPECT_EQ(extractURLsInString(text, "", always).size(), 1U);
    EXPECT_THAT(addresses("<a" + std::string(8 << 20, '<') + text), IsEmpty());
}

}  // namespace
}  // namespace siftwell
