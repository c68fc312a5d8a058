#include "index/ContentParsing.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ContentParsingTest : public IndexFixture {
protected:
    static PageContent page(const std::string& content,
                            const std::optional<std::string>& title = std::nullopt,
                            const std::optional<std::string>& type = "text/html",
                            const char* address = "http://host.example/some/p%C3%A4th.x?query") {
        const Date date = Date::fromReference(1000);
        return {content, url(address), date, title, std::nullopt, "Pages", "Tester", type};
    }
    static AddRequest parsed(PageContent page) {
        return parseContent(std::move(page), false, {}).value();
    }
    void parse(PageContent page) {
        store().parseAndAddContent(std::move(page));
        m_loop.drain();
    }
};

TEST_F(ContentParsingTest, PageIsFoundByItsWordsTitlePathAndHost) {
    const AddRequest request = parsed(page(
        "<html><head><TITLE>Big &amp; Small</title></head><script>no words</script>One&lt;b&gt;"));
    EXPECT_EQ(request.content, "one b  Big   Small  some p\xC3\xA4th x host example");
    EXPECT_EQ(request.title, "Big & Small");
    EXPECT_EQ(parsed(page("<html>x", {}, "text/html", "file:///a/b")).content, "x  a b");

    // The title of the source goes before the one in the markup.
    const std::string titled = "<title>Today</title>x";
    EXPECT_EQ(parsed(page(titled, "News")).title, "News Today");
    EXPECT_EQ(parsed(page(titled, "")).title, "Today");
    EXPECT_EQ(parsed(page(titled)).title, "Today");
    for (const char* untitled : {"x", "<title></title>x", "<title> \n </title>x"}) {
        EXPECT_EQ(parsed(page(untitled, "News")).title, "News");
        EXPECT_EQ(parsed(page(untitled)).title, std::nullopt);
    }
}

TEST_F(ContentParsingTest, MarkupIsKnownByItsTypeOrByItsFrontAndOtherTextByItsExtension) {
    const auto isMarkup = [](const char* content, const char* type) {
        return parseContent(page(content, {}, type), false, {}).has_value();
    };
    EXPECT_TRUE(isMarkup("plain", "text/html"));
    EXPECT_FALSE(isMarkup("plain", "TEXT/HTML"));
    EXPECT_TRUE(isMarkup("<HTML><Head>", "text/plain"));
    EXPECT_TRUE(isMarkup("<rss><channel>", "application/xml"));
    EXPECT_FALSE(isMarkup("<html>", "text/plain"));
    const auto request = parseContent(page("a <b> c", "Title", std::nullopt), true, {});
    EXPECT_TRUE(request->content.starts_with("a  b  c Title "));
    EXPECT_TRUE(request->readable.starts_with("a <b> c"));
}

TEST_F(ContentParsingTest, EveryPageThatEndsIsTakenFromThePendingOnesButOneThatCannotBeRead) {
    store().setPendingDocumentCount(9);
    parse(page("plain text", {}, "text/plain"));
    EXPECT_EQ(store().pendingDocumentCount(), 9);
    parse(page(""));
    parse(page("x", {}, "text/html", "ftp://host/"));
    parse(page("<html><head>--</html>", {}, "text/html", "http:///"));
    EXPECT_EQ(store().pendingDocumentCount(), 6);
    EXPECT_THAT(errors(), ElementsAre("3 No text on page"));
    EXPECT_TRUE(isLogged("Returning without adding http:/// to index"));
    EXPECT_FALSE(store().canProcessURL(url("http:///")));
    EXPECT_THAT(m_told, IsEmpty());
    parse(page("word"));
    parse(page("word"));
    EXPECT_EQ(store().pendingDocumentCount(), 4);
    EXPECT_EQ(m_told.size(), 1U);
}

TEST_F(ContentParsingTest, TextOfAFileThatNeedsAnExtractorComesFromThere) {
    m_settings->set("UseContentExtractors", true);
    const auto file = page("CONTENT ON DISK", {}, std::nullopt, "file:///folder/a.pdf");
    parse(file);
    EXPECT_THAT(errors(), ElementsAre("3 SearchKit failed to index this URL"));
    EXPECT_EQ(m_details, "Content = CONTENT ON DISK  folder a pdf");
    m_extractor.text = "Extracted, words";
    parse(file);
    EXPECT_THAT(find("extracted & words"), ElementsAre("file:///folder/a.pdf"));
    EXPECT_THAT(find("disk | folder"), IsEmpty());
}

}  // namespace
}  // namespace siftwell
